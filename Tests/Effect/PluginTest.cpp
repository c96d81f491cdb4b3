#include "Plugin.h"

#include <gtest/gtest.h>

/// A plug-in without its start. What hosts compare with the resource of its file must not change by chance.
TEST(PluginFlags, AreTheStatedWords) {
    const Plugin plugin;
    EXPECT_EQ(static_cast<std::uint32_t>(plugin.GetOutFlags()), 0x2008450U);
    EXPECT_EQ(static_cast<std::uint32_t>(plugin.GetOutFlags2()), 0x8801402U);
    EXPECT_EQ(plugin.GetImportFolderName(u"any"), u"Nimbrel Models");
}

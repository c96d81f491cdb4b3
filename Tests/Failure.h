#pragma once

#include <exception>
#include <string>

#include <gtest/gtest.h>

#include "PluginBase/Exception.h"

namespace test {

/// The text of what `call` throws, or an empty one. A failure of the framework's own must have its general code.
template <class Call>
std::string MessageOf(const Call& call) {
    try {
        call();
    } catch (const std::exception& error) {
        const auto* own = dynamic_cast<const zeb::Exception*>(&error);
        EXPECT_TRUE(own == nullptr || own->code == zeb::kInternalError) << error.what();
        return error.what();
    }
    return {};
}

}  // namespace test

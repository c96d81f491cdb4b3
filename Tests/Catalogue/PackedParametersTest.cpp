// The constant structures of a frame, as the effect's catalogue and scripts make them.
#include <cstddef>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "CatalogueManager.h"
#include "Nimbrel/ShaderConstants.h"
#include "RecordMembers.h"

namespace {

using nimbrel::gpu::ModelConstants1;
using nimbrel::gpu::NoiseConstants1;

const test::CatalogueManager& Manager() {
    static const test::CatalogueManager manager;
    return manager;
}

struct Blob {
    Blob() : mBytes(Manager().Pack()), mView(mBytes.data(), mBytes.size()) {}

    std::vector<std::byte> mBytes;
    zeb::PackedParameters mView;
};

TEST(PackedCatalogue, StructuresStandInOrderWithTheirSizes) {
    const Blob blob;
    std::vector<std::string> names = {"CommonCpp"};
    for (const char* name : {"ModelConstants", "ModelCpp", "NoiseConstants", "Ramps", "Gradients"}) {
        for (int slot = 1; slot <= 5; ++slot) names.push_back(name + std::to_string(slot));
    }
    EXPECT_EQ(blob.mView.GetNames(), names);
    for (const std::string& name : names) {
        const std::size_t size = name[0] == 'R' ? 28672 : name[0] == 'G' ? 16384 : 256;
        EXPECT_EQ(blob.mView.GetStruct(name).mSize, size) << name;
    }
}

// The catalogue must put each member where the programs read it.
// clang-format off
#define MODEL_OFFSET(member) {#member, offsetof(ModelConstants1, member)},
#define NOISE_OFFSET(member) {#member, offsetof(NoiseConstants1, member)},
// clang-format on

TEST(PackedCatalogue, OffsetsAreThoseOfTheSharedRecords) {
    const auto offsets = [](const std::string& pack) {
        std::map<std::string, std::size_t> result;
        for (const auto& member : Manager().Get().GetPacker().GetPack(pack).mMembers)
            result[member.mName] = member.mOffset;
        return result;
    };
    const std::map<std::string, std::size_t> model = {MODEL_MEMBERS(MODEL_OFFSET)};
    const std::map<std::string, std::size_t> noise = {NOISE_MEMBERS(NOISE_OFFSET)};
    for (int slot = 1; slot <= 5; ++slot) {
        EXPECT_EQ(offsets(fmt::format("ModelConstants{}", slot)), model);
        EXPECT_EQ(offsets(fmt::format("NoiseConstants{}", slot)), noise);
    }
}

}  // namespace

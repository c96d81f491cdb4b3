#include <algorithm>
#include <array>
#include <numeric>

#include "DeviceFixture.h"

namespace zeb::render {
namespace {

class ComputeTest : public DeviceFixture {
protected:
    // One factor at each multiple of 256 bytes.
    static UniquePtr<Buffer> MakeFactors(std::uint32_t first, std::uint32_t second) {
        std::vector<std::uint32_t> words(128, 0);
        words[0] = first;
        words[64] = second;
        return MakeUpload(words);
    }
};

TEST_F(ComputeTest, RawBuffersBindAtEveryMultipleOfFour) {
    constexpr std::uint32_t kCount = 5;
    constexpr std::uint32_t kSlot = 160;  // words between results, wide enough for a red zone on both sides
    constexpr std::uint32_t kCases = 33;
    std::vector<std::uint32_t> source(kCases + kCount);
    std::iota(source.begin(), source.end(), 1U);
    const auto input = MakeUpload(source);
    std::vector<std::uint32_t> expected(kSlot * kCases, 0xabababab);
    const auto result = MakeBuffer(expected.size() * 4);
    const auto red = MakeUpload(expected);
    const auto factors = MakeFactors(1, 10);
    const auto program = MakeRawAdd(GetDevice());
    Copy([&](CopyCommandEncoder& encoder) { encoder.CopyBuffer(*result, 0, *red, 0, expected.size() * 4); });
    Compute([&](ComputeCommandEncoder& encoder) {
        program.Set(encoder);
        for (std::uint32_t i = 0; i < kCases; ++i) {
            const std::uint32_t at = i * kSlot + 40 + (i * 7) % kCases;
            const std::uint32_t constants[] = {kCount, i * 1000};
            encoder.SetRootConstants(0, 2, constants);
            encoder.SetRootShaderResourceBufferView(1, *input, i * 4);
            encoder.SetRootUnorderedAccessBufferView(2, *result, at * 4);
            encoder.SetRootConstantBufferView(3, *factors, (i % 2) * 256);
            encoder.Dispatch(1, 1, 1, 64, 1, 1);
            for (std::uint32_t k = 0; k < kCount; ++k)
                expected[at + k] = source[i + k] * (i % 2 == 0 ? 1 : 10) + i * 1000;
        }
    });
    EXPECT_EQ(Read<std::uint32_t>(*result), expected);
}

struct Record {
    std::array<float, 8> mFields;
    std::array<std::uint32_t, 2> mLast;
    bool operator==(const Record&) const = default;
};
static_assert(sizeof(Record) == 40);

TEST_F(ComputeTest, StructuredBuffersBindAtEveryElement) {
    // An element of 40 bytes meets the devices' alignments of 16 to 256 bytes only at every second to 32nd.
    constexpr std::uint32_t kCases = 40;
    std::vector<Record> source(kCases + 2);
    for (std::uint32_t i = 0; i < source.size(); ++i) {
        for (std::uint32_t k = 0; k < 8; ++k) source[i].mFields[k] = static_cast<float>(i * 100 + k);
        source[i].mLast = {i, i + 7};
    }
    const auto input = MakeUpload(source);
    std::vector<Record> expected(kCases * 4 + 3);
    const auto result = MakeBuffer(expected.size() * sizeof(Record));
    const auto zeros = MakeUpload(expected);
    const ComputeProgramUnderTest program(GetDevice(), "RecordAdd", [](RootSignature& signature) {
        signature.AddRootUnorderedAccessBufferView(4);
        signature.AddRootShaderResourceBufferView(3);
        signature.AddRootConstants(20, 0);
    });
    Copy([&](CopyCommandEncoder& encoder) {
        encoder.CopyBuffer(*result, 0, *zeros, 0, expected.size() * sizeof(Record));
    });
    Compute([&](ComputeCommandEncoder& encoder) {
        program.Set(encoder);
        for (std::uint32_t i = 0; i < kCases; ++i) {
            std::array<std::uint32_t, 20> constants = {};
            constants[0] = 2;
            constants[1] = i + 50;
            constants[19] = 9000;
            const std::uint32_t at = i * 4 + i % 3;
            encoder.SetRootConstants(2, 20, constants.data());
            encoder.SetRootShaderResourceBufferView(1, *input, i * sizeof(Record));
            encoder.SetRootUnorderedAccessBufferView(0, *result, at * sizeof(Record));
            encoder.Dispatch(1, 1, 1, 64, 1, 1);
            for (std::uint32_t k = 0; k < 2; ++k) {
                expected[at + k] = source[i + k];
                for (std::uint32_t f = 0; f < 8; ++f) expected[at + k].mFields[f] += static_cast<float>(f + 1);
                expected[at + k].mLast[0] += i + 50;
                expected[at + k].mLast[1] += 9000;
            }
        }
    });
    EXPECT_EQ(Read<Record>(*result), expected);
}

TEST_F(ComputeTest, DispatchesOnOneBufferRunInOrderWithTheirOwnConstants) {
    // 900 sets of 80 bytes: more than one block of the list's uniform memory, and more than one pool of descriptor
    // sets.
    constexpr std::uint32_t kDispatches = 900;
    const auto program = MakeChain(GetDevice());
    const auto start = MakeUpload(std::vector<std::uint32_t>{5, 6, 7, 8});
    const auto values = MakeBuffer(16);
    Run([&](CommandList& list) {
        auto copy = list.CreateCopyCommandEncoder();
        copy->CopyBuffer(*values, 0, *start, 0, 16);
        copy->End();
        auto encoder = list.CreateComputeCommandEncoder();
        program.Set(*encoder);
        encoder->BufferTransitionBarrier(*values, BufferState::UnorderedAccess);
        encoder->SetRootUnorderedAccessBufferView(1, *values, 0);
        for (std::uint32_t i = 0; i < kDispatches; ++i) {
            const std::uint32_t constants[] = {4, i};
            encoder->SetRootConstants(0, 2, constants);
            encoder->Dispatch(1, 1, 1, 64, 1, 1);
            encoder->BufferUnorderedAccessBarrier(*values);
        }
        encoder->Dispatch(0, 1, 1, 64, 1, 1);  // nothing
        encoder->End();
    });
    std::vector<std::uint32_t> expected = {5, 6, 7, 8};
    for (std::uint32_t i = 0; i < kDispatches; ++i) {
        for (std::uint32_t& value : expected) value = value * 3 + i;
    }
    EXPECT_EQ(Read<std::uint32_t>(*values), expected);
}

class SamplingTest : public ComputeTest {
protected:
    // Samples two textures at `positions` (x, y of the first, z, w of the second) with the sampler at `sampler` of
    // the range. The textures are descriptors `index` and `index` + 1.
    static std::vector<float> Sample(DescriptorRange& textures, std::uint32_t index, DescriptorRange& samplers,
                                     std::uint32_t sampler, const std::vector<std::array<float, 4>>& positions) {
        static const ComputeProgramUnderTest program(GetDevice(), "Sample", [](RootSignature& signature) {
            signature.AddRootConstants(20, 0);
            signature.AddDescriptorTable({{DescriptorRangeType::Texture, 2, 7}});
            signature.AddDescriptorTable({{DescriptorRangeType::Sampler, 1, 9}});
            signature.AddRootUnorderedAccessBufferView(10);
            signature.AddRootShaderResourceBufferView(12);
        });
        const auto input = MakeUpload(positions);
        const auto result = MakeBuffer(positions.size() * 16);
        Compute([&](ComputeCommandEncoder& encoder) {
            program.Set(encoder);
            encoder.SetRootConstant(0, static_cast<std::uint32_t>(positions.size()));
            encoder.SetRootDescriptorTable(1, textures, index);
            encoder.SetRootDescriptorTable(2, samplers, sampler);
            encoder.SetRootUnorderedAccessBufferView(3, *result, 0);
            encoder.SetRootShaderResourceBufferView(4, *input, 0);
            encoder.Dispatch(1, 1, 1, 64, 1, 1);
        });
        const std::vector<float> all = Read<float>(*result);
        std::vector<float> red;
        for (std::size_t i = 0; i < all.size(); i += 4) red.push_back(all[i]);
        return red;
    }

    static UniquePtr<Texture> MakeRow(const std::vector<float>& values) {
        auto texture = MakeTexture(Format::R32Float, static_cast<std::uint32_t>(values.size()), 1);
        Upload(*texture, values.data(), values.size() * sizeof(float));
        return texture;
    }
};

TEST_F(SamplingTest, FiltersAndAddressModesFollowTheSampler) {
    const auto row = MakeRow({0, 1, 2, 3});
    const auto zero = MakeRow({0});
    auto textures = GetDevice().GetThreadData().mShaderResourceHeap->AllocateRange(2);
    auto samplers = GetDevice().GetThreadData().mSamplerHeap->AllocateRange(4);
    GetDevice().CreateTextureView(*textures, 0, *row);
    GetDevice().CreateTextureView(*textures, 1, *zero);
    struct Case {
        SamplerFilter mFilter;
        SamplerAddress mAddress;
        std::vector<float> mExpected;
    };
    // Texel centres lie at 1/8, 3/8, 5/8 and 7/8. Positions: between two texels, on one, right of the row, left of it.
    const std::vector<std::array<float, 4>> positions = {{0.5F}, {0.375F}, {1.375F}, {-0.125F}, {1.0F}};
    const Case cases[] = {
        {SamplerFilter::Linear, SamplerAddress::Clamp, {1.5F, 1, 3, 0, 3}},
        {SamplerFilter::Linear, SamplerAddress::Wrap, {1.5F, 1, 1, 3, 1.5F}},
        {SamplerFilter::Linear, SamplerAddress::Mirror, {1.5F, 1, 2, 0, 3}},
        {SamplerFilter::Point, SamplerAddress::Clamp, {2, 1, 3, 0, 3}},
    };
    std::vector<UniquePtr<Sampler>> kept;
    for (std::uint32_t i = 0; i < std::size(cases); ++i) {
        const auto [filter, address, expected] = cases[i];
        kept.push_back(GetDevice().CreateSampler("Sampler", {filter, filter, filter, address, address, address}));
        GetDevice().CreateSamplerView(*samplers, i, *kept.back());
        const std::vector<float> result = Sample(*textures, 0, *samplers, i, positions);
        for (std::size_t k = 0; k < expected.size(); ++k) EXPECT_NEAR(result[k], expected[k], 0.01F) << i << " " << k;
    }
}

TEST_F(SamplingTest, TablesBeginAtAnyDescriptorAndAreReadAtTheDispatch) {
    std::vector<UniquePtr<Texture>> kept;
    auto textures = GetDevice().GetThreadData().mShaderResourceHeap->AllocateRange(4);
    for (std::uint32_t i = 0; i < 4; ++i) {
        kept.push_back(MakeRow({static_cast<float>(i + 1)}));
        GetDevice().CreateTextureView(*textures, i, *kept.back());
    }
    auto samplers = GetDevice().GetThreadData().mSamplerHeap->AllocateRange(1);
    const auto sampler = GetDevice().CreateSampler("Sampler", {});
    GetDevice().CreateSamplerView(*samplers, 0, *sampler);
    EXPECT_EQ(Sample(*textures, 0, *samplers, 0, {{}}), std::vector<float>{1 + 200});
    EXPECT_EQ(Sample(*textures, 2, *samplers, 0, {{}}), std::vector<float>{3 + 400});
    GetDevice().CreateTextureView(*textures, 3, *kept[0]);
    EXPECT_EQ(Sample(*textures, 2, *samplers, 0, {{}}), std::vector<float>{3 + 100});
    // The view keeps its texture, and a view of one texture twice is fine.
    kept.clear();
    GetDevice().CreateTextureView(*textures, 1, *MakeRow({9}));
    EXPECT_EQ(Sample(*textures, 0, *samplers, 0, {{}}), std::vector<float>{1 + 900});
}

TEST_F(ComputeTest, ImagesAreWrittenAndReadBack) {
    const auto image = MakeTexture(Format::RGBA32Float, 4, 4, kTextureUsageShaderRead | kTextureUsageUnorderedAccess);
    auto range = GetDevice().GetThreadData().mShaderResourceHeap->AllocateRange(1);
    GetDevice().CreateUnorderedAccessTextureView(*range, 0, *image);
    const ComputeProgramUnderTest program(GetDevice(), "WriteImage", [](RootSignature& signature) {
        signature.AddDescriptorTable({{DescriptorRangeType::UnorderedAccessTexture, 1, 13}});
        signature.AddRootConstants(20, 0);
    });
    Compute([&](ComputeCommandEncoder& encoder) {
        program.Set(encoder);
        encoder.TextureTransitionBarrier(*image, TextureState::UnorderedAccess);
        const std::uint32_t constants[] = {0, 17};
        encoder.SetRootConstants(1, 2, constants);
        encoder.SetRootDescriptorTable(0, *range, 0);
        encoder.Dispatch(1, 1, 1, 4, 4, 1);
        encoder.TextureUnorderedAccessBarrier(*image);
    });
    const std::vector<float> texels = ReadFloats(*image);
    for (std::size_t i = 0; i < 16; ++i) {
        EXPECT_EQ(texels[i * 4], static_cast<float>(i % 4));
        EXPECT_EQ(texels[i * 4 + 1], static_cast<float>(i / 4));
        EXPECT_EQ(texels[i * 4 + 2], 17.0F);
    }
}

TEST_F(ComputeTest, BufferViewsInTablesBindTheirElements) {
    const ComputeProgramUnderTest program(GetDevice(), "RawAdd", [](RootSignature& signature) {
        signature.AddRootConstants(20, 0);
        signature.AddDescriptorTable({{DescriptorRangeType::Buffer, 1, 1},
                                      {DescriptorRangeType::UnorderedAccessBuffer, 1, 2},
                                      {DescriptorRangeType::ConstantBuffer, 1, 14}});
    });
    std::vector<std::uint32_t> source(64);
    std::iota(source.begin(), source.end(), 0U);
    const auto input = MakeUpload(source);
    const auto result = MakeBuffer(64 * 4);
    const auto factors = MakeFactors(2, 3);
    auto range = GetDevice().GetThreadData().mShaderResourceHeap->AllocateRange(5);
    GetDevice().CreateShaderResourceBufferView(*range, 2, *input, 12, 40, 0);
    GetDevice().CreateUnorderedAccessBufferView(*range, 3, *result, 3, 61, 4);
    GetDevice().CreateConstantBufferView(*range, 4, *factors, 256, 256);
    const auto zeros = MakeUpload(std::vector<std::uint32_t>(64, 0));
    Copy([&](CopyCommandEncoder& encoder) { encoder.CopyBuffer(*result, 0, *zeros, 0, 256); });
    Compute([&](ComputeCommandEncoder& encoder) {
        program.Set(encoder);
        const std::uint32_t constants[] = {4, 1};
        encoder.SetRootConstants(0, 2, constants);
        encoder.SetRootDescriptorTable(1, *range, 2);
        encoder.Dispatch(1, 1, 1, 64, 1, 1);
    });
    std::vector<std::uint32_t> expected(64, 0);
    for (std::uint32_t i = 0; i < 4; ++i) expected[3 + i] = (12 + i) * 3 + 1;
    EXPECT_EQ(Read<std::uint32_t>(*result), expected);
}

}  // namespace
}  // namespace zeb::render

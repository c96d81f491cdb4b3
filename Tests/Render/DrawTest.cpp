#include <array>
#include <optional>

#include "DeviceFixture.h"

namespace zeb::render {
namespace {

using Color = std::array<float, 4>;

class DrawTest : public DeviceFixture {
protected:
    struct Target {
        UniquePtr<Texture> mTexture;
        UniquePtr<DescriptorRange> mRange;

        RenderPassDescription GetPass(std::optional<Color> clear) const {
            ColorAttachment attachment = {mTexture.get(), mRange.get(), 0};
            if (clear) attachment = {mTexture.get(), mRange.get(), 0, LoadOperation::Clear, *clear};
            return {{attachment}, nullptr};
        }
    };

    static Target MakeTarget(std::uint32_t width, std::uint32_t height, Format format = Format::RGBA32Float) {
        Target target;
        target.mTexture = MakeTexture(format, width, height, kTextureUsageShaderRead | kTextureUsageRenderTarget);
        target.mRange = GetDevice().GetThreadData().mRenderTargetHeap->AllocateRange(1);
        GetDevice().CreateRenderTargetView(*target.mRange, 0, *target.mTexture);
        return target;
    }

    static void Draw(const Target& target, std::optional<Color> clear,
                     const std::function<void(GraphicsCommandEncoder&)>& record) {
        Run([&](CommandList& list) {
            const auto encoder = list.CreateGraphicsCommandEncoder(target.GetPass(clear));
            encoder->TextureTransitionBarrier(*target.mTexture, TextureState::RenderTarget);
            record(*encoder);
            encoder->End();
        });
    }

    static Color GetPixel(const std::vector<float>& pixels, std::uint32_t width, std::uint32_t x, std::uint32_t y) {
        const std::size_t at = (std::size_t{y} * width + x) * 4;
        return {pixels[at], pixels[at + 1], pixels[at + 2], pixels[at + 3]};
    }

    // The red channel of all pixels, row by row, as text: '#' for 1, '.' for 0, '?' for anything else.
    static std::vector<std::string> GetPicture(const Target& target) {
        const std::vector<float> pixels = ReadFloats(*target.mTexture);
        std::vector<std::string> picture(target.mTexture->GetHeight());
        for (std::size_t i = 0; i < pixels.size(); i += 4)
            picture[i / 4 / target.mTexture->GetWidth()] += pixels[i] == 1.0F ? '#' : (pixels[i] == 0.0F ? '.' : '?');
        return picture;
    }
};

/// The program "Quad": a rectangle in clip space, set as root constants.
class QuadTest : public DrawTest {
protected:
    struct Quad {
        std::array<float, 4> mRectangle = {-1, -1, 1, 1};  // left, bottom, right, top
        Color mColor = {1, 1, 1, 1};
        float mDepth = 0.5F;
    };

    explicit QuadTest(const std::string& program = "Quad")
        : mSignature(GetDevice().CreateRootSignature(program)),
          mLibrary(GetDevice().CreateShaderLibraryFromEmbeddedData(program)),
          mVertexShader(mLibrary->GetShader(ShaderType::Vertex)),
          mPixelShader(mLibrary->GetShader(ShaderType::Pixel)) {
        mSignature->AddRootConstants(9, 0);
        mDescription.mRootSignature = mSignature.get();
        mDescription.mVertexShader = mVertexShader.get();
        mDescription.mPixelShader = mPixelShader.get();
        mDescription.mRenderTargetFormats[0] = Format::RGBA32Float;
    }

    UniquePtr<GraphicsPipelineState> MakePipeline(const std::function<void(GraphicsPipelineDescription&)>& change =
                                                      [](GraphicsPipelineDescription&) {}) {
        GraphicsPipelineDescription description = mDescription;
        change(description);
        return GetDevice().CreateGraphicsPipelineState("Quad", description);
    }

    void DrawQuad(GraphicsCommandEncoder& encoder, GraphicsPipelineState& pipeline, const Quad& quad) const {
        encoder.SetRootSignature(*mSignature);
        encoder.SetPipelineState(pipeline);
        encoder.SetRootConstants(0, 9, &quad);
        encoder.Draw(Topology::TriangleList, 0, 6);
    }

    UniquePtr<RootSignature> mSignature;
    UniquePtr<ShaderLibrary> mLibrary;
    UniquePtr<Shader> mVertexShader;
    UniquePtr<Shader> mPixelShader;
    GraphicsPipelineDescription mDescription;
};

TEST_F(QuadTest, ClipSpaceHasYUpAndRowsRunDown) {
    const Target target = MakeTarget(4, 4);
    const auto pipeline = MakePipeline();
    Draw(target, Color{0, 0, 0, 0}, [&](GraphicsCommandEncoder& encoder) {
        DrawQuad(encoder, *pipeline, {{-1, 0, 0, 1}});         // upper left
        DrawQuad(encoder, *pipeline, {{0.5F, -1, 1, -0.5F}});  // lowest row, last column
    });
    EXPECT_EQ(GetPicture(target), (std::vector<std::string>{"##..", "##..", "....", "...#"}));
}

TEST_F(QuadTest, ViewportPlacesAndScissorCuts) {
    const Target target = MakeTarget(6, 4);
    const auto pipeline = MakePipeline();
    Draw(target, Color{0, 0, 0, 0}, [&](GraphicsCommandEncoder& encoder) {
        encoder.SetViewport(1, 0, 4, 2, 0, 1);
        DrawQuad(encoder, *pipeline, {{-1, 0, 0, 1}});  // the upper left quarter of the viewport
        encoder.SetViewport(0, 0, 6, 4, 0, 1);
        encoder.SetScissor(2, 3, 5, 9);
        DrawQuad(encoder, *pipeline, {});
        encoder.SetScissor(-7, 2, 1, 3);
        DrawQuad(encoder, *pipeline, {});
        encoder.SetScissor(4, 0, 2, 4);  // empty
        DrawQuad(encoder, *pipeline, {});
    });
    EXPECT_EQ(GetPicture(target), (std::vector<std::string>{".##...", "......", "#.....", "..###."}));
}

TEST_F(QuadTest, DepthIsClippedToZeroToOne) {
    const Target target = MakeTarget(8, 1);
    const auto pipeline = MakePipeline();
    const float depths[] = {-0.1F, 0.0F, 0.01F, 0.5F, 0.99F, 1.0F, 1.1F, 2.0F};
    Draw(target, Color{0, 0, 0, 0}, [&](GraphicsCommandEncoder& encoder) {
        for (int i = 0; i < 8; ++i) {
            const float left = -1 + 0.25F * static_cast<float>(i);
            DrawQuad(encoder, *pipeline, {{left, -1, left + 0.25F, 1}, {1, 1, 1, 1}, depths[i]});
        }
    });
    EXPECT_EQ(GetPicture(target), (std::vector<std::string>{".#####.."}));
}

TEST_F(QuadTest, PassesClearOrKeepWhatWasThere) {
    const Target target = MakeTarget(2, 1);
    const auto pipeline = MakePipeline();
    const Color clear = {0.25F, 0.5F, 2.0F, -1.0F};
    Draw(target, clear, [](GraphicsCommandEncoder&) {});
    std::vector<float> pixels = ReadFloats(*target.mTexture);
    EXPECT_EQ(GetPixel(pixels, 2, 0, 0), clear);
    EXPECT_EQ(GetPixel(pixels, 2, 1, 0), clear);
    Draw(target, std::nullopt, [&](GraphicsCommandEncoder& encoder) {
        DrawQuad(encoder, *pipeline, {{0, -1, 1, 1}, {7, 8, 9, 10}});
    });
    pixels = ReadFloats(*target.mTexture);
    EXPECT_EQ(GetPixel(pixels, 2, 0, 0), clear);
    EXPECT_EQ(GetPixel(pixels, 2, 1, 0), (Color{7, 8, 9, 10}));
}

TEST_F(QuadTest, BlendFactorsAndOperationsFollowTheirNames) {
    const Color source = {0.5F, 0.25F, 1.0F, 0.75F};
    const Color target = {0.125F, 0.5F, 0.25F, 0.5F};
    // Factor of each kind for the channel; 10 is unknown, which counts as zero.
    const auto factor = [&](std::uint32_t kind, std::size_t channel) {
        const float values[] = {0,
                                1,
                                source[channel],
                                1 - source[channel],
                                source[3],
                                1 - source[3],
                                target[3],
                                1 - target[3],
                                target[channel],
                                1 - target[channel],
                                0};
        return values[kind];
    };
    const auto check = [&](std::uint32_t from, std::uint32_t to, std::uint32_t operation,
                           const std::function<float(float, float)>& combine) {
        const Target texture = MakeTarget(1, 1);
        const auto pipeline = MakePipeline([&](GraphicsPipelineDescription& description) {
            description.mBlendEnabled = true;
            description.mSourceColorFactor = static_cast<BlendFactor>(from);
            description.mDestinationColorFactor = static_cast<BlendFactor>(to);
            description.mColorOperation = static_cast<BlendOperation>(operation);
        });
        Draw(texture, target, [&](GraphicsCommandEncoder& encoder) {
            DrawQuad(encoder, *pipeline, {{-1, -1, 1, 1}, source});
        });
        const Color result = GetPixel(ReadFloats(*texture.mTexture), 1, 0, 0);
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_NEAR(result[i], combine(source[i] * factor(from, i), target[i] * factor(to, i)), 1e-6F)
                << from << " " << to << " " << operation << " " << i;
        EXPECT_EQ(result[3], source[3]);  // alpha has factors of its own: one and zero
    };
    const auto add = [](float a, float b) { return a + b; };
    for (std::uint32_t kind = 0; kind <= 10; ++kind) {
        check(kind, 1, 0, add);
        check(1, kind, 0, add);
    }
    check(4, 1, 1, [](float a, float b) { return a - b; });
    check(4, 1, 2, [](float a, float b) { return b - a; });
    check(1, 1, 3, [](float a, float b) { return std::min(a, b); });
    check(1, 1, 4, [](float a, float b) { return std::max(a, b); });
    check(1, 1, 5, add);
}

class ColumnsTest : public QuadTest {
protected:
    ColumnsTest() : QuadTest("Columns") { mSignature->AddRootShaderResourceBufferView(1); }
};

TEST_F(ColumnsTest, DrawsReadWhatComputeJustWroteAndComputeReadsWhatWasDrawn) {
    const ComputeProgramUnderTest chain = MakeChain(GetDevice());
    const auto pipeline = MakePipeline();
    const Target target = MakeTarget(4, 2);
    const auto colors = MakeBuffer(5 * 16);
    // The bits of 0.5 are 0x3f000000; 3 x + 0 of a third of them. Element 0 is skipped by the offset.
    constexpr std::uint32_t kThird = 0x3f000000 / 3;
    const auto start = MakeUpload(std::vector<std::uint32_t>(20, kThird));
    const auto back = MakeBuffer(4 * 2 * 16, MemoryKind::Readback);
    Run([&](CommandList& list) {
        const auto copy = list.CreateCopyCommandEncoder();
        copy->CopyBuffer(*colors, 0, *start, 0, 80);
        copy->End();
        const auto compute = list.CreateComputeCommandEncoder();
        chain.Set(*compute);
        compute->SetRootConstant(0, 20);
        compute->SetRootUnorderedAccessBufferView(1, *colors, 0);
        compute->Dispatch(1, 1, 1, 64, 1, 1);
        compute->End();
        const auto draw = list.CreateGraphicsCommandEncoder(target.GetPass(Color{0, 0, 0, 0}));
        draw->SetRootSignature(*mSignature);
        draw->SetPipelineState(*pipeline);
        draw->SetRootConstant(0, 0);
        draw->SetRootShaderResourceBufferView(1, *colors, 16);
        draw->DrawInstanced(Topology::TriangleList, 0, 6, 0, 3);
        draw->End();
        const auto read = list.CreateCopyCommandEncoder();
        read->CopyToBufferFromTexture(*back, *target.mTexture);
        read->End();
    });
    const float expected = 0.5F;
    std::vector<float> pixels(4 * 2 * 4);
    std::memcpy(pixels.data(), back->Map(0, 128), 128);
    back->Unmap();
    std::uint32_t bits = 0;
    std::memcpy(&bits, &expected, 4);
    ASSERT_EQ(kThird * 3, bits);
    for (std::uint32_t x = 0; x < 4; ++x) {
        for (std::uint32_t y = 0; y < 2; ++y)
            EXPECT_EQ(GetPixel(pixels, 4, x, y)[0], x < 3 ? expected : 0.0F) << x << " " << y;
    }
}

class TexturedTest : public QuadTest {
protected:
    TexturedTest() : QuadTest("TexturedQuad") {
        mSignature->AddDescriptorTable({{DescriptorRangeType::Texture, 1, 2}}, ShaderVisibility::Pixel);
        mSignature->AddDescriptorTable({{DescriptorRangeType::Sampler, 1, 3}}, ShaderVisibility::Pixel);
    }
};

TEST_F(TexturedTest, OnePassReadsTheTargetOfAnother) {
    const Target targets[] = {MakeTarget(2, 2), MakeTarget(2, 2)};
    auto views = GetDevice().GetThreadData().mShaderResourceHeap->AllocateRange(2);
    auto samplers = GetDevice().GetThreadData().mSamplerHeap->AllocateRange(1);
    const auto sampler = GetDevice().CreateSampler("Point", {});
    GetDevice().CreateSamplerView(*samplers, 0, *sampler);
    for (std::uint32_t i = 0; i < 2; ++i) GetDevice().CreateTextureView(*views, i, *targets[i].mTexture);
    const auto pipeline = MakePipeline();
    Run([&](CommandList& list) {
        const auto clear = list.CreateGraphicsCommandEncoder(targets[1].GetPass(Color{1, 2, 3, 4}));
        clear->End();
        // To and fro: each pass adds its colour to what the pass before left in the other target.
        for (std::uint32_t i = 0; i < 6; ++i) {
            const Target& target = targets[i % 2];
            const Target& source = targets[(i + 1) % 2];
            const auto encoder = list.CreateGraphicsCommandEncoder(target.GetPass(Color{0, 0, 0, 0}));
            encoder->TextureTransitionBarrier(*target.mTexture, TextureState::RenderTarget);
            encoder->TextureTransitionBarrier(*source.mTexture, TextureState::PixelShaderRead);
            encoder->SetRootSignature(*mSignature);
            encoder->SetRootDescriptorTable(1, *views, (i + 1) % 2);
            encoder->SetRootDescriptorTable(2, *samplers, 0);
            DrawQuad(*encoder, *pipeline, {{-1, -1, 1, 1}, {1, 10, 100, 1000}});
            encoder->End();
        }
    });
    EXPECT_EQ(GetPixel(ReadFloats(*targets[1].mTexture), 2, 1, 1), (Color{7, 62, 603, 6004}));
}

}  // namespace
}  // namespace zeb::render

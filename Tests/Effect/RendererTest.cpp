// What the renderer refuses before anything is uploaded; what it draws is seen in pictures.
#include <gmock/gmock.h>

#include "../Failure.h"
#include "Nimbrel/CPU/Programs/RegisterCpuPrograms.h"
#include "Nimbrel/GaussianSplatAsset.h"
#include "Nimbrel/ModelGroup.h"
#include "PluginBase/Render/Render.h"
#include "Render.h"
#include "TestBlob.h"

using ::testing::HasSubstr;

TEST(Renderer, MoreSplatsThanADeviceTakesAreRefused) {
    nimbrel::RegisterCpuPrograms();
    zeb::render::RenderOptions options;
    options.mRequestedDevice = "cpu";
    const auto render = zeb::render::Render::Create(0, options);
    zeb::render::Device& device = render->GetAnyDevice();
    const zeb::render::TextureDescription description{{}, zeb::render::Format::RGBA8Unorm,       64, 64, 1,
                                                      1,  zeb::render::kTextureUsageRenderTarget};
    const auto target = device.CreateTexture("Target", description, 0, zeb::render::TextureState::RenderTarget);
    TestBlob blob = TestBlob::MakeEffect();
    zeb::DrawInfo drawInfo;
    drawInfo.mPackedParameters = &blob.Pack();
    drawInfo.mFullWidth = drawInfo.mOutputWidth = drawInfo.mFullHeight = drawInfo.mOutputHeight = 64;
    GaussianSplatAsset asset;
    ModelInstance instance;
    instance.modelIndex = 1;
    const auto failure = [&](std::int32_t splats, std::size_t instances) {
        asset.splatCount = splats;
        return test::MessageOf([&] {
            Render(device, drawInfo, {{&asset, std::vector<ModelInstance>(instances, instance)}}, *target);
        });
    };
    EXPECT_THAT(failure(500000000, 5), HasSubstr("2500000000 splats; no more than 2147483647 can be drawn"));
    asset.colorHeight = 19552;
    EXPECT_THAT(failure(40000000, 1), HasSubstr("more than 33554432 splats together"));
    // An asset whose blocks do not hold what its count says is not read past its end.
    EXPECT_NE(failure(1000, 1), "");
}

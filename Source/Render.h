#pragma once

#include <memory>
#include <vector>

#include <glm/mat4x4.hpp>

#include "Nimbrel/ModelGroup.h"
#include "PluginBase/DrawInfo.h"
#include "PluginBase/Render/Device.h"

class GaussianSplatRenderer;

/// What the effect keeps for one thread on one device: its renderer. Lives in ThreadData::mEffectCache.
class Cache final : public zeb::render::DeviceCache {
public:
    Cache();
    ~Cache() override;

    /// The thread's renderer, made for `device` at the first call.
    GaussianSplatRenderer& GetRenderer(zeb::render::Device& device);

private:
    zeb::UniquePtr<GaussianSplatRenderer> mRenderer;
};

/// View space (x right, y down, z forward) to clip space for the tile's rectangle alone: off-centre
/// where the tile is not in the layer's middle. Element [r][c] is row r, column c of the form for row
/// vectors. Throws zeb::Exception for a native origin or camera type that it does not know.
glm::mat4 GetProjectionMatrix(const zeb::DrawInfo& drawInfo);

/// Records one tile's picture of `models` into the part of `target` that the tile covers, with the
/// calling thread's renderer. The list is the caller's to submit. An empty list of models clears.
zeb::UniquePtr<zeb::render::CommandList> Render(zeb::render::Device& device, const zeb::DrawInfo& drawInfo,
                                                const std::vector<ModelGroup>& models, zeb::render::Texture& target);

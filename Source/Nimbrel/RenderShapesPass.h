#pragma once

#include <vector>

#include <glm/mat4x4.hpp>

#include "Nimbrel/ShaderConstants.h"
#include "Nimbrel/ShapesInfo.h"
#include "PluginBase/DrawInfo.h"
#include "PluginBase/Render/Device.h"
#include "RenderHelper/Buffer.h"
#include "RenderHelper/GraphicsProgram.h"

/// Draws the wireframe aids over a finished frame with lines: a cross for each shape, then the shapes.
/// Thread: that of the device's record it was made for.
class RenderShapesPass {
public:
    /// `asAreas`: lines are drawn as areas of which the program keeps the line's pixels, as on devices without the
    /// rule.
    RenderShapesPass(zeb::render::Device& device, bool asAreas);

    /// Records nothing when there are no shapes. Draws into the tile's part of `target`, over what is there.
    void Record(zeb::render::CommandList& commandList, const glm::mat4& projection, const zeb::DrawInfo& drawInfo,
                const ShapesInfo& shapes, zeb::render::Texture& target);

private:
    using InfoBuffer = StructuredBuffer<nimbrel::gpu::ShapeInfo>;

    /// Draws `shapes` of the list that stands in `info`; nothing when the list is empty. The vertices are those of
    /// lines.
    struct Draw {
        GraphicsProgram& mProgram;
        const InfoBuffer& mInfo;
        zeb::render::Topology mTopology;
        std::uint32_t mVertexCount;
        std::uint32_t mInstancesPerShape;
    };

    void FillConstants(const glm::mat4& viewProjection);
    static void FillInfo(InfoBuffer& buffer, const std::vector<ShapeEntry>& shapes, const glm::mat4& viewProjection,
                         float targetWidth);
    void RecordDraw(zeb::render::GraphicsCommandEncoder& encoder, const Draw& draw) const;
    std::vector<Draw> MakeDraws();

    zeb::render::Device& mDevice;
    bool mAsAreas;
    GraphicsProgram mSphereGizmo;
    GraphicsProgram mBoxGizmo;
    GraphicsProgram mCrossGizmo;
    GraphicsProgram mYGridGizmo;
    StructuredBuffer<nimbrel::gpu::VertexShaderConstants> mConstants;
    InfoBuffer mPoints;
    InfoBuffer mSpheres;
    InfoBuffer mBoxes;
    InfoBuffer mYGrids;
    zeb::UniquePtr<zeb::render::DescriptorRange> mTargetRange;  ///< render target view
};

#pragma once

#include <type_traits>

#include "PluginBase/Render/Device.h"

namespace zeb::render {

/// The part of a device that is alike for all back ends: making the objects of its own classes, which `Classes` names.
/// What the objects share, `Classes::Context`, goes as the first argument to those that take it.
template <class Classes>
class DeviceOf : public Device {
public:
    using Context = typename Classes::Context;

    // There is no debugger to tell.
    bool CanCapture() const override { return false; }
    void BeginCapture() override {}
    void EndCapture() override {}

    const Context& GetContext() const { return mContext; }

protected:
    DeviceOf(Context context, std::string name, const DescriptorHeapSizes& heapSizes)
        : Device(std::move(name), heapSizes), mContext(std::move(context)) {}
    /// The threads' records go before the context does.
    ~DeviceOf() override { ReleaseThreadData(); }

    UniquePtr<RootSignature> DoCreateRootSignature(std::string name) override {
        return Make<typename Classes::RootSignatureObject>(std::move(name));
    }
    UniquePtr<Buffer> DoCreateBuffer(std::string name, std::uint64_t sizeInBytes, MemoryKind memory,
                                     BufferState initialState, BufferUsage usage) override {
        return Make<typename Classes::BufferObject>(std::move(name), sizeInBytes, memory, initialState, usage);
    }
    UniquePtr<Texture> DoCreateTexture(std::string name, const TextureDescription& description,
                                       TextureState initialState) override {
        return Make<typename Classes::TextureObject>(std::move(name), description, initialState);
    }
    UniquePtr<Sampler> DoCreateSampler(std::string name, const SamplerDescription& description) override {
        return Make<typename Classes::SamplerObject>(std::move(name), description);
    }
    UniquePtr<DescriptorHeap> DoCreateDescriptorHeap(std::string name, DescriptorHeapType type,
                                                     std::int32_t count) override {
        return Make<typename Classes::DescriptorHeapObject>(std::move(name), type, count);
    }
    UniquePtr<GraphicsPipelineState> DoCreateGraphicsPipelineState(
        std::string name, const GraphicsPipelineDescription& description) override {
        return Make<typename Classes::GraphicsPipelineObject>(std::move(name), description);
    }
    UniquePtr<ComputePipelineState> DoCreateComputePipelineState(
        std::string name, const ComputePipelineDescription& description) override {
        return Make<typename Classes::ComputePipelineObject>(std::move(name), description);
    }
    UniquePtr<CommandQueue> DoCreateCommandQueue(std::string name) override {
        return Make<typename Classes::CommandQueueObject>(std::move(name));
    }

private:
    template <class Object, class... Args>
    UniquePtr<Object> Make(Args&&... args) {
        if constexpr (std::is_constructible_v<Object, const Context&, Args...>)
            return MakeUnique<Object>(mContext, std::forward<Args>(args)...);
        else
            return MakeUnique<Object>(std::forward<Args>(args)...);
    }

    Context mContext;
};

}  // namespace zeb::render

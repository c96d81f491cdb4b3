#pragma once

#include <memory>
#include <string>

#include "DeviceContext.h"

namespace zeb::render {

/// A native buffer or texture and the state that the work recorded so far leaves it in. Command lists and descriptors
/// share it, so it outlives an object that was replaced while work on it is pending.
struct ResourceDX12 {
    ResourceDX12(std::shared_ptr<DeviceContext> context, std::string name)
        : mContext(std::move(context)), mName(std::move(name)) {
        mContext->CountResource(1);
    }
    ~ResourceDX12() { mContext->CountResource(-1); }
    ResourceDX12(const ResourceDX12&) = delete;
    ResourceDX12& operator=(const ResourceDX12&) = delete;

    std::shared_ptr<DeviceContext> mContext;
    std::string mName;
    ComPointer<ID3D12Resource> mResource;
    D3D12_RESOURCE_STATES mState = D3D12_RESOURCE_STATE_COMMON;

    /// Memory that the CPU sees is of one state for good.
    bool mIsFixed = false;
    /// Buffers fall back to the common state when a list has run; `mList` is the last one that used this.
    bool mIsBuffer = false;
    std::uint64_t mList = 0;
};

}  // namespace zeb::render

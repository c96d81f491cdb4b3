// What differs between the graphics interfaces that programs are compiled for: ZEB_GAPI_VULKAN or
// ZEB_GAPI_DX12 names it. Sources reach buffers through these macros and are otherwise the same.
//
// A root buffer may be bound at any multiple of 4 bytes. Vulkan allows only multiples of a device limit: the
// back end binds the next lower one and hands the rest over, in elements of the buffer, one word for each
// register number (t and u share the numbers; no program uses one number for both).
//
// ZEB_ELEMENT(n, i)  index of element i of the structured buffer at register n
// ZEB_BYTES(n, a)    address of byte a of the raw buffer at register n
//
// ZEB_WAVE_OPS is defined where wave operations may be used. Shader model 5.1 has none.
#ifndef ZEB_BINDING_HLSLI
#define ZEB_BINDING_HLSLI

#if defined(ZEB_GAPI_VULKAN)

[[vk::push_constant]] cbuffer _ZebBufferOffsetsBlock {
    uint4 _ZebBufferOffsets[5];
};

#define ZEB_ELEMENT(n, i) ((i) + _ZebBufferOffsets[(n) / 4][(n) % 4])
#define ZEB_BYTES(n, a) ((a) + 4u * _ZebBufferOffsets[(n) / 4][(n) % 4])

#else

#define ZEB_ELEMENT(n, i) (i)
#define ZEB_BYTES(n, a) (a)

#endif

#if defined(ZEB_WAVE_OPS)
// Sum over the lanes before this one. The Vulkan compiler emits an inclusive scan for this operation.
#if defined(ZEB_GAPI_VULKAN)
#define ZEB_WAVE_PREFIX_SUM(value) (WavePrefixSum(value) - (value))
#else
#define ZEB_WAVE_PREFIX_SUM(value) WavePrefixSum(value)
#endif
#endif

#endif

// Copies a rectangle of a texture into a byte buffer in one of the host's pixel layouts. Compiled once for each
// channel depth: ZEB_CHANNEL_FORMAT 0 U8, 1 U16, 2 I16, 3 F16, 4 F32. Every entry runs one thread for
// PIXELS_PER_THREAD pixels of a row, in groups that cover 8 by 8 pixels; reads the texture, writes whole 32-bit words
// of the buffer. Invariant: threads write disjoint words as long as the rectangle's rows start at multiples of
// 4 bytes; packed layouts write the last word of a row whole, zero behind the row's end.
#include "ZebBinding.hlsli"
#include "ZebMath.hlsli"

#define FORMAT_U8 0
#define FORMAT_U16 1
#define FORMAT_I16 2
#define FORMAT_F16 3
#define FORMAT_F32 4

#if ZEB_CHANNEL_FORMAT == FORMAT_U8
#define PIXELS_PER_THREAD 4
#define GROUP_WIDTH 2
#define CHANNEL_BYTES 1
#elif ZEB_CHANNEL_FORMAT == FORMAT_F32
#define PIXELS_PER_THREAD 1
#define GROUP_WIDTH 8
#define CHANNEL_BYTES 4
#else
#define PIXELS_PER_THREAD 2
#define GROUP_WIDTH 4
#define CHANNEL_BYTES 2
#endif

cbuffer Constants : register(b0) {
    uint2 size;             // of the rectangle, in pixels
    uint2 srcOffset;        // of the rectangle in the texture
    uint2 dstOffsetPixels;  // of the rectangle in the buffer's picture
    uint dstRowPitchBytes;
};

Texture2D<float4> sourceTexture : register(t0);
RWByteAddressBuffer outByteBuffer : register(u1);

// A channel in the low bits of a word; for F32 all its bits.
uint ConvertChannel(float c) {
#if ZEB_CHANNEL_FORMAT == FORMAT_U8
    return uint(min(max(c * 255.0 + 0.5, 0.0), 255.0));
#elif ZEB_CHANNEL_FORMAT == FORMAT_U16
    return uint(min(max(c * 65535.0 + 0.5, 0.0), 65535.0));
#elif ZEB_CHANNEL_FORMAT == FORMAT_I16
    return uint(min(max(c * 32767.0 + 0.5, 0.0), 32767.0));
#elif ZEB_CHANNEL_FORMAT == FORMAT_F16
    return FloatToHalf(c);
#else
    return asuint(c);
#endif
}

// The converted pixel `x` of row `y`, r g b a; zero behind the row's end.
uint4 FetchPixel(uint x, uint y) {
    if (x >= size.x) return uint4(0, 0, 0, 0);
    float4 texel = sourceTexture.Load(int3(int(srcOffset.x + x), int(srcOffset.y + y), 0));
#if ZEB_CHANNEL_FORMAT == FORMAT_U8
    // This depth reads the texture as halves.
    texel = float4(RoundToHalf(texel.r), RoundToHalf(texel.g), RoundToHalf(texel.b), RoundToHalf(texel.a));
#endif
    return uint4(ConvertChannel(texel.r), ConvertChannel(texel.g), ConvertChannel(texel.b), ConvertChannel(texel.a));
}

uint PixelAddress(uint x, uint y, uint channels) {
    return (dstOffsetPixels.y + y) * dstRowPitchBytes + (dstOffsetPixels.x + x) * (channels * CHANNEL_BYTES);
}

void StoreWord(uint address, uint value) { outByteBuffer.Store(ZEB_BYTES(1, address), value); }

// Four channels of one pixel, in memory order.
void StoreFour(uint address, uint4 channels) {
#if ZEB_CHANNEL_FORMAT == FORMAT_U8
    StoreWord(address, channels.x | (channels.y << 8) | (channels.z << 16) | (channels.w << 24));
#elif ZEB_CHANNEL_FORMAT == FORMAT_F32
    StoreWord(address, channels.x);
    StoreWord(address + 4u, channels.y);
    StoreWord(address + 8u, channels.z);
    StoreWord(address + 12u, channels.w);
#else
    StoreWord(address, channels.x | (channels.y << 16));
    StoreWord(address + 4u, channels.z | (channels.w << 16));
#endif
}

[numthreads(GROUP_WIDTH, 8, 1)]
void CSCopyRGBA(uint3 thread : SV_DispatchThreadID) {
    for (uint i = 0; i < PIXELS_PER_THREAD; ++i) {
        uint x = thread.x * PIXELS_PER_THREAD + i;
        if (x >= size.x || thread.y >= size.y) return;
        StoreFour(PixelAddress(x, thread.y, 4u), FetchPixel(x, thread.y));
    }
}

[numthreads(GROUP_WIDTH, 8, 1)]
void CSCopyARGB(uint3 thread : SV_DispatchThreadID) {
    for (uint i = 0; i < PIXELS_PER_THREAD; ++i) {
        uint x = thread.x * PIXELS_PER_THREAD + i;
        if (x >= size.x || thread.y >= size.y) return;
        uint4 pixel = FetchPixel(x, thread.y);
        StoreFour(PixelAddress(x, thread.y, 4u), uint4(pixel.a, pixel.r, pixel.g, pixel.b));
    }
}

// With 16-bit channels a row's odd last pixel gets only its first word: its blue stays unwritten, since the second
// word would reach into bytes behind the row.
[numthreads(GROUP_WIDTH, 8, 1)]
void CSCopyRGB(uint3 thread : SV_DispatchThreadID) {
    uint x = thread.x * PIXELS_PER_THREAD;
    uint y = thread.y;
    if (x >= size.x || y >= size.y) return;
    uint address = PixelAddress(x, y, 3u);
    uint remaining = size.x - x;
    uint4 p0 = FetchPixel(x, y);
#if ZEB_CHANNEL_FORMAT == FORMAT_U8
    uint4 p1 = FetchPixel(x + 1u, y);
    uint4 p2 = FetchPixel(x + 2u, y);
    uint4 p3 = FetchPixel(x + 3u, y);
    StoreWord(address, p0.r | (p0.g << 8) | (p0.b << 16) | (p1.r << 24));
    if (remaining > 1u) StoreWord(address + 4u, p1.g | (p1.b << 8) | (p2.r << 16) | (p2.g << 24));
    if (remaining > 2u) StoreWord(address + 8u, p2.b | (p3.r << 8) | (p3.g << 16) | (p3.b << 24));
#elif ZEB_CHANNEL_FORMAT == FORMAT_F32
    StoreWord(address, p0.r);
    StoreWord(address + 4u, p0.g);
    StoreWord(address + 8u, p0.b);
#else
    StoreWord(address, p0.r | (p0.g << 16));
    if (remaining > 1u) {
        uint4 p1 = FetchPixel(x + 1u, y);
        StoreWord(address + 4u, p0.b | (p1.r << 16));
        StoreWord(address + 8u, p1.g | (p1.b << 16));
    }
#endif
}

[numthreads(GROUP_WIDTH, 8, 1)]
void CSCopyAlpha(uint3 thread : SV_DispatchThreadID) {
    uint x = thread.x * PIXELS_PER_THREAD;
    uint y = thread.y;
    if (x >= size.x || y >= size.y) return;
    uint word = FetchPixel(x, y).a;
#if ZEB_CHANNEL_FORMAT == FORMAT_U8
    word |= FetchPixel(x + 1u, y).a << 8;
    word |= FetchPixel(x + 2u, y).a << 16;
    word |= FetchPixel(x + 3u, y).a << 24;
#elif ZEB_CHANNEL_FORMAT != FORMAT_F32
    word |= FetchPixel(x + 1u, y).a << 16;
#endif
    StoreWord(PixelAddress(x, y, 1u), word);
}

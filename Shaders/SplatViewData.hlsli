// The record between the view-data kernel and the splat draw. Members are scalars, so that the record is 40 bytes
// under every interface's packing.
#ifndef SPLAT_VIEW_DATA_HLSLI
#define SPLAT_VIEW_DATA_HLSLI

struct SplatViewData {
    float pos[4];    // clip space
    float axis1[2];  // pixels
    float axis2[2];
    uint color[2];  // halves: red << 16 | green, blue << 16 | opacity
};

#endif

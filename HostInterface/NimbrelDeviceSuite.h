#pragma once

#include <stdint.h>

/* An optional suite of a host, by which it chooses the device that the effect renders on and hears of
 * the candidates and of the graphics API's validation. The effect tries to acquire it while it starts;
 * a host that lacks it changes nothing. Plain C, natural alignment; functions return 0 for success. */

#define kNimbrelDeviceSuite "Nimbrel Device Suite"
#define kNimbrelDeviceSuiteVersion2 2

typedef struct NimbrelDeviceSuite2 {
    /* The wanted device: "" (the effect chooses), "cpu", "vulkan", an index into the candidates, or a
     * part of a name. The text stays valid until the effect is shut down. Main thread, global setup. */
    int32_t (*GetRequestedDevice)(const char** request);
    /* Whether to run with the API's validation layer, 0 or 1. Main thread, global setup. */
    int32_t (*GetValidationRequested)(uint8_t* requested);
    /* One candidate, in order of index; `kind` such as "vulkan (software)", `reason` one line. Main
     * thread, global setup. */
    int32_t (*ReportDevice)(int32_t index, const char* name, const char* kind, uint8_t chosen, const char* reason);
    /* One error of the validation layer. Any thread, any time. */
    int32_t (*ReportValidationMessage)(const char* text);
    /* Processors that the effect may use at once for drawing, 0 for as many as there are. Main thread, global
     * setup. */
    int32_t (*GetProcessorLimit)(int32_t* processors);
} NimbrelDeviceSuite2;

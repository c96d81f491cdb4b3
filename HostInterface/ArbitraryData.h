#pragma once

#include "HostInterface/Types.h"

// Parameters whose value is a block of the effect's own.

#ifdef _MSC_VER
#pragma pack(push, 8)
#endif
extern "C" {

using PF_FunctionSelector = A_long;

using PF_ArbCompareResult = A_long;
enum : PF_ArbCompareResult {
    PF_ArbCompare_EQUAL = 0,
    PF_ArbCompare_LESS = 1,
    PF_ArbCompare_MORE = 2,
    PF_ArbCompare_NOT_EQUAL = 3,
};

enum : A_long {
    PF_Arbitrary_NEW_FUNC = 0,
    PF_Arbitrary_DISPOSE_FUNC = 1,
    PF_Arbitrary_COPY_FUNC = 2,
    PF_Arbitrary_FLAT_SIZE_FUNC = 3,
    PF_Arbitrary_FLATTEN_FUNC = 4,
    PF_Arbitrary_UNFLATTEN_FUNC = 5,
    PF_Arbitrary_INTERP_FUNC = 6,
    PF_Arbitrary_COMPARE_FUNC = 7,
    PF_Arbitrary_PRINT_SIZE_FUNC = 8,
    PF_Arbitrary_PRINT_FUNC = 9,
    PF_Arbitrary_SCAN_FUNC = 10,
};

using PF_ArbPrintFlags = A_long;
enum : PF_ArbPrintFlags {
    PF_ArbPrint_NONE = 0,
    PF_ArbPrint_ABBREVIATED = 1,
};

// `u` by which_function. COPY without a source means a new default.
struct PF_ArbParamsExtra {
    PF_FunctionSelector which_function;
    A_short id;
    A_short padding;
    union {
        struct {
            void* refconPV;
            PF_Handle* arbPH;
        } new_func_params;
        struct {
            void* refconPV;
            PF_Handle arbH;
        } dispose_func_params;
        struct {
            void* refconPV;
            PF_Handle src_arbH;
            PF_Handle* dst_arbPH;
        } copy_func_params;
        struct {
            void* refconPV;
            PF_Handle arbH;
            A_u_long* flat_data_sizePLu;
        } flat_size_func_params;
        struct {
            void* refconPV;
            PF_Handle arbH;
            A_u_long buf_sizeLu;
            void* flat_dataPV;
        } flatten_func_params;
        struct {
            void* refconPV;
            A_u_long buf_sizeLu;
            const void* flat_dataPV;
            PF_Handle* arbPH;
        } unflatten_func_params;
        struct {
            void* refconPV;
            PF_Handle left_arbH;
            PF_Handle right_arbH;
            PF_FpLong tF;
            PF_Handle* interpPH;
        } interp_func_params;
        struct {
            void* refconPV;
            PF_Handle a_arbH;
            PF_Handle b_arbH;
            PF_ArbCompareResult* compareP;
        } compare_func_params;
        struct {
            void* refconPV;
            PF_Handle arbH;
            A_u_long* print_sizePLu;
        } print_size_func_params;
        struct {
            void* refconPV;
            A_long print_flags;
            PF_Handle arbH;
            A_u_long print_sizeLu;
            A_char* print_bufferPC;
        } print_func_params;
        struct {
            void* refconPV;
            const A_char* bufPC;
            A_u_long bytes_to_scanLu;
            PF_Handle* arbPH;
        } scan_func_params;
    } u;
};
NIMBREL_LAYOUT(PF_ArbParamsExtra, 48, 8);
NIMBREL_OFFSET(PF_ArbParamsExtra, id, 4);
NIMBREL_OFFSET(PF_ArbParamsExtra, padding, 6);
NIMBREL_OFFSET(PF_ArbParamsExtra, u, 8);
NIMBREL_OFFSET(PF_ArbParamsExtra, u.new_func_params.arbPH, 8 + 8);
NIMBREL_OFFSET(PF_ArbParamsExtra, u.dispose_func_params.arbH, 8 + 8);
NIMBREL_OFFSET(PF_ArbParamsExtra, u.copy_func_params.src_arbH, 8 + 8);
NIMBREL_OFFSET(PF_ArbParamsExtra, u.copy_func_params.dst_arbPH, 8 + 16);
NIMBREL_OFFSET(PF_ArbParamsExtra, u.flat_size_func_params.arbH, 8 + 8);
NIMBREL_OFFSET(PF_ArbParamsExtra, u.flat_size_func_params.flat_data_sizePLu, 8 + 16);
NIMBREL_OFFSET(PF_ArbParamsExtra, u.flatten_func_params.arbH, 8 + 8);
NIMBREL_OFFSET(PF_ArbParamsExtra, u.flatten_func_params.buf_sizeLu, 8 + 16);
NIMBREL_OFFSET(PF_ArbParamsExtra, u.flatten_func_params.flat_dataPV, 8 + 24);
NIMBREL_OFFSET(PF_ArbParamsExtra, u.unflatten_func_params.buf_sizeLu, 8 + 8);
NIMBREL_OFFSET(PF_ArbParamsExtra, u.unflatten_func_params.flat_dataPV, 8 + 16);
NIMBREL_OFFSET(PF_ArbParamsExtra, u.unflatten_func_params.arbPH, 8 + 24);
NIMBREL_OFFSET(PF_ArbParamsExtra, u.interp_func_params.left_arbH, 8 + 8);
NIMBREL_OFFSET(PF_ArbParamsExtra, u.interp_func_params.right_arbH, 8 + 16);
NIMBREL_OFFSET(PF_ArbParamsExtra, u.interp_func_params.tF, 8 + 24);
NIMBREL_OFFSET(PF_ArbParamsExtra, u.interp_func_params.interpPH, 8 + 32);
NIMBREL_OFFSET(PF_ArbParamsExtra, u.compare_func_params.a_arbH, 8 + 8);
NIMBREL_OFFSET(PF_ArbParamsExtra, u.compare_func_params.b_arbH, 8 + 16);
NIMBREL_OFFSET(PF_ArbParamsExtra, u.compare_func_params.compareP, 8 + 24);
NIMBREL_OFFSET(PF_ArbParamsExtra, u.print_size_func_params.arbH, 8 + 8);
NIMBREL_OFFSET(PF_ArbParamsExtra, u.print_size_func_params.print_sizePLu, 8 + 16);
NIMBREL_OFFSET(PF_ArbParamsExtra, u.print_func_params.print_flags, 8 + 8);
NIMBREL_OFFSET(PF_ArbParamsExtra, u.print_func_params.arbH, 8 + 16);
NIMBREL_OFFSET(PF_ArbParamsExtra, u.print_func_params.print_sizeLu, 8 + 24);
NIMBREL_OFFSET(PF_ArbParamsExtra, u.print_func_params.print_bufferPC, 8 + 32);
NIMBREL_OFFSET(PF_ArbParamsExtra, u.scan_func_params.bufPC, 8 + 8);
NIMBREL_OFFSET(PF_ArbParamsExtra, u.scan_func_params.bytes_to_scanLu, 8 + 16);
NIMBREL_OFFSET(PF_ArbParamsExtra, u.scan_func_params.arbPH, 8 + 24);

}  // extern "C"
#ifdef _MSC_VER
#pragma pack(pop)
#endif

#pragma once

#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "Commands/Boundary.h"
#include "HostInterface/HostInterface.h"
#include "NimbrelHost/Commands/Host.h"
#include "NimbrelHost/Commands/Module.h"
#include "NimbrelHost/Commands/SuiteFaults.h"
#include "Suites/Suites.h"

namespace nimbrel::host {

/// What is known of a table: the suite's name and the codes of its failures.
template <class Table>
struct TableOf {
    static inline const char* sName = "";
    static inline FailureCodes sCodes = kSuiteCodes;
};

/// Reports a call of a slot that the host doesn't serve.
A_Err ReportUnserved(const char* suite, int slot) noexcept;

template <class Table, int Slot>
A_Err Unserved() {
    return ReportUnserved(TableOf<Table>::sName, Slot);
}

/// A function table whose slots all answer an error. All arguments go unread, which both calling conventions allow.
template <class Table>
Table MakeTable(const char* name, const FailureCodes& codes = kSuiteCodes) {
    TableOf<Table>::sName = name;
    TableOf<Table>::sCodes = codes;
    constexpr std::size_t slots = sizeof(Table) / sizeof(A_Err(*)());
    Table table;
    const auto fill = [&]<int... Slot>(std::integer_sequence<int, Slot...>) {
        A_Err (*const functions[])() = {Unserved<Table, Slot>...};
        static_assert(sizeof(functions) == sizeof(table) && std::is_trivially_copyable_v<Table>);
        std::memcpy(static_cast<void*>(&table), functions, sizeof(table));
    };
    fill(std::make_integer_sequence<int, static_cast<int>(slots)>());
    return table;
}

/// A served slot: what the effect calls, so that each call can be counted and made to fail (SuiteFaults). `Function`
/// takes the host and the slot's arguments; what it throws is answered by the table's codes.
template <class Table, auto Slot, auto Function>
struct Served {
    static inline const char* sName = "";

    template <class Result, class... Arguments>
    static Result Call(Arguments... arguments) noexcept {
        return Answer<Result>(TableOf<Table>::sCodes, sName, [&](Host& host) {
            constexpr bool tellsFailure = std::is_same_v<Result, A_Err> || std::is_pointer_v<Result>;
            // Faults are for the effect: what an importer asks for in the middle of its work is another matter.
            const bool mayFail = tellsFailure && ModuleCall::Current() == nullptr;
            const A_Err fault = mayFail ? host.GetFaults().Enter(TableOf<Table>::sName, sName) : A_Err{0};
            const auto call = [&] {
                if constexpr (std::is_void_v<decltype(Function(host, arguments...))>) {
                    Function(host, arguments...);
                    if constexpr (!std::is_void_v<Result>) return Result{};
                } else {
                    return static_cast<Result>(Function(host, arguments...));
                }
            };
            if (fault == 0) return call();
            if (SuiteFaults::GivesBack(sName)) call();
            if constexpr (std::is_same_v<Result, A_Err>) return fault;
            if constexpr (!std::is_void_v<Result> && !std::is_same_v<Result, A_Err>) return Result{};
        });
    }

    template <class Result, class... Arguments>
    static void Into(Table& table, Result (*Table::*slot)(Arguments...), const char* name) {
        sName = name;
        table.*slot = Call<Result, Arguments...>;
    }
};

// Enters a function into a table that MakeTable made.
#define NIMBREL_SERVE(table, slot, function)                                                                           \
    Served<std::remove_reference_t<decltype(table)>, &std::remove_reference_t<decltype(table)>::slot, function>::Into( \
        table, &std::remove_reference_t<decltype(table)>::slot, #slot)

/// 0 where the running command may change the project, else why not: on no command of this thread 5, on a render
/// thread 6.
A_Err CheckMayChangeProject();

/// Called by a suite before it changes what the user can take back.
inline UndoHistory& BeforeChange(Host& host) {
    UndoHistory& undo = host.GetUndo();
    undo.CountEffectChange();
    return undo;
}

/// The seconds of a time; a scale of 0 counts as time 0.
double ToSeconds(const A_Time* time);
double ToSeconds(A_long value, A_u_long scale);

/// UTF-16 text in a new memory handle, with its terminator; null without memory.
AEGP_MemHandle NewTextHandle(Host& host, std::string_view text);

/// The same of UTF-8 text.
AEGP_MemHandle NewNarrowTextHandle(Host& host, std::string_view text);

/// A matrix for row vectors, as the interface has it.
A_Matrix4 ToRowMatrix(const glm::dmat4& matrix);

// Handles of the interface and the objects behind them. Unknown handles give null.
inline Layer* ToLayer(Host& host, AEGP_LayerH handle) { return host.GetProject().FindLayer(handle); }
inline Item* ToItem(Host& host, AEGP_ItemH handle) { return host.GetProject().FindItem(handle); }
inline bool IsComp(Host& host, AEGP_CompH handle) {
    return static_cast<const void*>(handle) == static_cast<const void*>(host.GetProject().GetCompositionItem());
}
inline AEGP_LayerH ToHandle(Layer* layer) { return reinterpret_cast<AEGP_LayerH>(layer); }
inline AEGP_ItemH ToHandle(Item* item) { return reinterpret_cast<AEGP_ItemH>(item); }
inline AEGP_FootageH ToHandle(Footage* footage) { return reinterpret_cast<AEGP_FootageH>(footage); }
inline AEGP_CompH TheComp(Host& host) { return reinterpret_cast<AEGP_CompH>(host.GetProject().GetCompositionItem()); }

}  // namespace nimbrel::host

#pragma once

#include <cstring>
#include <exception>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "HostInterface/HostInterface.h"
#include "NimbrelHost/Commands/Host.h"
#include "NimbrelHost/Commands/SuiteFaults.h"
#include "Suites/Suites.h"

namespace nimbrel::host {

/// Reports a call of a slot that the host doesn't serve.
void ReportUnserved(const char* suite, int slot);

template <class Table>
struct TableName {
    static inline const char* sName = "";
};

template <class Table, int Slot>
A_Err Unserved() {
    ReportUnserved(TableName<Table>::sName, Slot);
    return A_Err_GENERIC;
}

/// A function table whose slots all answer an error. All arguments go unread, which both calling conventions allow.
template <class Table>
Table MakeTable(const char* name) {
    TableName<Table>::sName = name;
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

/// The code that a call of a suite shall answer instead of being served, 0 for none: see SuiteFaults.
A_Err FindFault(const char* suite, const char* function) noexcept;

/// A served slot: what the effect calls, so that each call can be counted and made to fail.
template <auto Slot, auto Function>
struct Served {
    static inline const char* sSuite = "";
    static inline const char* sName = "";

    template <class Result, class... Arguments>
    static Result Call(Arguments... arguments) {
        constexpr bool tellsFailure = std::is_same_v<Result, A_Err> || std::is_pointer_v<Result>;
        if constexpr (!tellsFailure) {
            return Function(arguments...);
        } else {
            const A_Err fault = FindFault(sSuite, sName);
            if (fault == 0) return Function(arguments...);
            if (SuiteFaults::GivesBack(sName)) Function(arguments...);
            if constexpr (std::is_pointer_v<Result>) {
                return nullptr;
            } else {
                return fault;
            }
        }
    }

    template <class Table, class Result, class... Arguments>
    static void Into(Table& table, Result (*Table::*slot)(Arguments...), const char* name) {
        sSuite = TableName<Table>::sName;
        sName = name;
        table.*slot = Call<Result, Arguments...>;
    }
};

// Enters a function into a table that MakeTable made.
#define NIMBREL_SERVE(table, slot, function)                                 \
    Served<&std::remove_reference_t<decltype(table)>::slot, function>::Into( \
        table, &std::remove_reference_t<decltype(table)>::slot, #slot)

/// Runs the body of a suite function: no exception may cross into the effect.
template <class Body>
A_Err Guarded(Body body) noexcept {
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return A_Err_ALLOC;
    } catch (...) {
        return A_Err_GENERIC;
    }
}

/// 0 where the running command may change the project, else why not: on no command of this thread 5, on a render
/// thread 6.
A_Err CheckMayChangeProject();

/// Called by a suite before it changes what the user can take back.
inline UndoHistory& BeforeChange() {
    UndoHistory& undo = Host::Active().GetUndo();
    undo.CountEffectChange();
    return undo;
}

/// The seconds of a time; a scale of 0 counts as time 0.
double ToSeconds(const A_Time* time);
double ToSeconds(A_long value, A_u_long scale);

/// UTF-16 text in a new memory handle, with its terminator; null without memory.
AEGP_MemHandle NewTextHandle(std::string_view text);

/// The same of UTF-8 text.
AEGP_MemHandle NewNarrowTextHandle(std::string_view text);

/// A matrix for row vectors, as the interface has it.
A_Matrix4 ToRowMatrix(const glm::dmat4& matrix);

// Handles of the interface and the objects behind them. Unknown handles give null.
inline Project& TheProject() { return Host::Active().GetProject(); }
inline Layer* ToLayer(AEGP_LayerH handle) { return TheProject().FindLayer(handle); }
inline Item* ToItem(AEGP_ItemH handle) { return TheProject().FindItem(handle); }
inline bool IsComp(AEGP_CompH handle) {
    return static_cast<const void*>(handle) == static_cast<const void*>(TheProject().GetCompositionItem());
}
inline AEGP_LayerH ToHandle(Layer* layer) { return reinterpret_cast<AEGP_LayerH>(layer); }
inline AEGP_ItemH ToHandle(Item* item) { return reinterpret_cast<AEGP_ItemH>(item); }
inline AEGP_FootageH ToHandle(Footage* footage) { return reinterpret_cast<AEGP_FootageH>(footage); }
inline AEGP_CompH TheComp() { return reinterpret_cast<AEGP_CompH>(TheProject().GetCompositionItem()); }

}  // namespace nimbrel::host

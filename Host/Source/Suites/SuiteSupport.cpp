#include "Suites/SuiteSupport.h"

#include <fmt/format.h>

#include "NimbrelHost/Commands/Command.h"
#include "NimbrelHost/Support/Text.h"

namespace nimbrel::host {

A_Err ReportUnserved(const char* suite, int slot) noexcept {
    return Answer<A_Err>(kSuiteCodes, "", [&](Host& host) {
        host.GetDiagnostics().Report(fmt::format("{}: function {} is not served by this host", suite, slot));
        return A_Err_GENERIC;
    });
}

A_Err CheckMayChangeProject() {
    const Command* const command = Command::Current();
    if (command == nullptr) return A_Err_WRONG_THREAD;
    return MayChangeProject(command->GetCommand()) ? A_Err_NONE : A_Err_CONST_PROJECT_MODIFICATION;
}

double ToSeconds(A_long value, A_u_long scale) { return scale == 0 ? 0 : static_cast<double>(value) / scale; }

double ToSeconds(const A_Time* time) { return time == nullptr ? 0 : ToSeconds(time->value, time->scale); }

namespace {

AEGP_MemHandle NewMemory(Host& host, const void* data, std::size_t size) {
    void** const handle = host.GetMemory().New(size);
    if (handle == nullptr) return nullptr;
    std::memcpy(*handle, data, size);
    return reinterpret_cast<AEGP_MemHandle>(handle);
}

}  // namespace

AEGP_MemHandle NewTextHandle(Host& host, std::string_view text) {
    const std::u16string wide = ToUtf16(text);
    return NewMemory(host, wide.c_str(), (wide.size() + 1) * sizeof(char16_t));
}

AEGP_MemHandle NewNarrowTextHandle(Host& host, std::string_view text) {
    return NewMemory(host, std::string(text).c_str(), text.size() + 1);
}

A_Matrix4 ToRowMatrix(const glm::dmat4& matrix) {
    // Columns for column vectors are rows for row vectors: the same memory.
    A_Matrix4 rows{};
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 4; ++column) rows.mat[row][column] = matrix[row][column];
    }
    return rows;
}

}  // namespace nimbrel::host

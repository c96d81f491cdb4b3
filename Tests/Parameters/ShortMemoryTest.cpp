// Packing while memory is short: each allocation fails once, alone and with all that follow. In a program of its own,
// whose allocation comes before the system's.
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

#include "PluginBase/Parameters/ParameterPacker.h"
#include "TestSupport.h"

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
}

namespace {

thread_local long tLeft = -1;  ///< allocations until the one that fails; below 0: none
thread_local bool tForGood = false;
thread_local long tFailed = 0;

bool Fails() {
    if (tLeft < 0) return false;
    if (tLeft > 0) {
        --tLeft;
        return false;
    }
    ++tFailed;
    if (!tForGood) tLeft = -1;
    return true;
}

}  // namespace

extern "C" {
void* malloc(std::size_t size) noexcept { return Fails() ? nullptr : __libc_malloc(size); }
void* calloc(std::size_t count, std::size_t size) noexcept { return Fails() ? nullptr : __libc_calloc(count, size); }
void* realloc(void* memory, std::size_t size) noexcept { return Fails() ? nullptr : __libc_realloc(memory, size); }
}

namespace {

std::vector<std::byte> Pack(const zeb::ParametersManagerBase& manager) {
    std::vector<std::byte> bytes;
    zeb::BlobWriter writer(bytes);
    manager.GetPacker().PackFromGetter(writer, test::ValuesGetter(manager, {}));
    return bytes;
}

/// Whether it went well although the `n`th allocation failed.
bool PackWithFailure(const zeb::ParametersManagerBase& manager, long n, bool forGood) {
    bool isPacked = false;
    tFailed = 0;
    tForGood = forGood;
    tLeft = n;
    try {
        Pack(manager);
        isPacked = true;
    } catch (const std::exception&) {
    }
    tLeft = -1;
    return isPacked;
}

TEST(ShortMemory, EachFailedAllocationEndsAsAFailureOfItsFrameAlone) {
    const std::string script =
        "var P = {a: 0, t: new mat4x4()};\n"
        "function FillP(getter) { P.t = mat4x4.makeTranslate(getter.Get(0), 2, 3); P.t.mulBy(P.t.makeCopy());\n"
        "    for (var i = 0; i < 20; ++i) P.a = new vec3(i, P.a.length, 1).length() + String(i).length; }\n";
    const std::string description =
        R"({"parameters":[)" + test::Entry("IntSlider", 2, test::kRange + R"(,"default":{"value":-3})") +
        R"(],"packJSFilenames":["S.js"],"packs":[{"name":"P","sizeInBytes":128,"scriptFunction":"FillP","members":[)"
        R"({"name":"a","offset":0,"type":"Float32","sourceParameter":-1,"arraySize":0},)"
        R"({"name":"t","offset":64,"type":"Mat4x4","sourceParameter":-1,"arraySize":0}]}]})";
    const zeb::EmbeddedTextFile file{"S.js", script};
    const zeb::TextFileLoader loader(&file, 1);
    zeb::ParametersManagerOptions options;
    options.mTextFileLoader = &loader;

    const auto makeManager = [&] { return std::make_unique<test::TextManager>(description, options); };
    const std::vector<std::byte> expected = Pack(*makeManager());
    // With a heap that is to be made yet, and with one that is there.
    for (const bool forGood : {false, true}) {
        for (const bool warm : {false, true}) {
            std::unique_ptr<test::TextManager> manager = makeManager();
            if (warm) Pack(*manager);
            long failures = 0;
            for (long n = 0;; ++n) {
                if (!warm) manager = makeManager();
                if (!PackWithFailure(*manager, n, forGood)) ++failures;
                if (tFailed == 0) break;
                // The next frame finds memory again.
                ASSERT_EQ(Pack(*manager), expected) << "allocation " << n << ", warm: " << warm;
            }
            EXPECT_GT(failures, warm ? 3 : 100);
        }
    }
}

}  // namespace

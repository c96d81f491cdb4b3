#pragma once

#include <cstdint>

#include <duktape.h>

namespace nimbrel::host {

/// Leaves a fresh heap what expressions may have: numbers, texts, lists, `Math`, `JSON`, `Date`. No code comes from
/// texts, no property from functions; regular expressions, whose search nothing stops, are gone too. Functions that
/// walk a list or a text say beforehand how long that is (ScriptHeap::Spend). `Math.random` draws from `random`, a
/// state that must outlive the heap's scripts. Comes first of all, inside a protected call.
void FenceIn(duk_context* context, std::uint64_t* random);

}  // namespace nimbrel::host

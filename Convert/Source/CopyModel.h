#pragma once

#include "NimbrelConvert/Convert.h"
#include "NimbrelConvert/PlyWriter.h"

namespace nimbrel::convert {

/// Comments of a written file: where it comes from, and how it is to be drawn.
std::vector<std::string> MakeComments(const ModelFacts& facts);

/// Reads all splats and writes them, then finishes the file.
void CopyModel(SplatReader& reader, PlyWriter& writer, const std::function<void()>& check);

}  // namespace nimbrel::convert

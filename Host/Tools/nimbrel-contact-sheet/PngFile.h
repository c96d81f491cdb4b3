#pragma once

#include <string>

#include "Image.h"

namespace nimbrel::sheet {

/// Reads a PNG file of any kind as 8-bit colour; what is transparent shows `background`.
/// Throws std::runtime_error that names the file, also for pictures of more than 2^26 pixels.
Image ReadPng(const std::string& file, Color background);

/// Writes beside the file first: it appears under its name only when it is whole.
/// Throws std::runtime_error that names the file.
void WritePng(const std::string& file, const Image& image);

}  // namespace nimbrel::sheet

#pragma once

#include <stdexcept>
#include <string>

namespace nimbrel::convert {

/// A file that cannot be read, or a model that cannot be written. The text says what is wrong, in one line, and names
/// the file where Open and Convert throw it.
class ConvertError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// What stands in a file is wrong, unknown or cut short.
class FormatError : public ConvertError {
public:
    using ConvertError::ConvertError;
};

/// The system refuses a file: it is not there, the disk is full, the folder may not be written to.
class FileError : public ConvertError {
public:
    using ConvertError::ConvertError;
};

}  // namespace nimbrel::convert

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/Descriptor.h"

#include <filesystem>

/// Standard input and output in place of files. A pipe cannot be searched, as sound files must be, so its
/// content goes through a temporary file that has no name. The functions throw std::system_error and block.
namespace vello {

/// Whether the name stands for standard input or output.
inline bool isStandardStream(const std::filesystem::path& path) {
    return path == "-";
}

/// An empty file without a name, open for reading and writing; gone when it is closed.
Descriptor namelessFile();
/// All of standard input in such a file, at its beginning.
Descriptor spoolStandardInput();
/// Writes the whole file to standard output.
void copyToStandardOutput(int descriptor);

} // namespace vello

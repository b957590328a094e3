// SPDX-License-Identifier: Apache-2.0
#include "CompanionProgram.h"

namespace vello {
namespace {

namespace fs = std::filesystem;

fs::path ownFolder() {
    return fs::read_symlink("/proc/self/exe").parent_path();
}

} // namespace

fs::path companionProgram(std::string_view name) {
    const fs::path beside = ownFolder() / name;
    return fs::exists(beside) ? beside : (ownFolder() / VELLO_TO_COMPANIONS / name).lexically_normal();
}

fs::path mainProgram() {
    const fs::path beside = ownFolder() / "vello";
    return fs::is_regular_file(beside) ? beside
                                       : (ownFolder() / VELLO_FROM_COMPANIONS / "vello").lexically_normal();
}

bool isInstalled() {
    return mainProgram() == fs::path(VELLO_INSTALLED_PROGRAM).lexically_normal();
}

} // namespace vello

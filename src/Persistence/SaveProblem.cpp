// SPDX-License-Identifier: Apache-2.0
#include "Persistence/SaveProblem.h"

#include <cerrno>
#include <system_error>

namespace vello {
namespace {

SaveProblem::Kind kindOf(int error) {
    switch (error) {
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return SaveProblem::Kind::diskFull;
    case EACCES:
    case EPERM:
    case EROFS:
        return SaveProblem::Kind::notPermitted;
    default:
        return SaveProblem::Kind::other;
    }
}

} // namespace

std::string sentence(const SaveProblem& problem) {
    if (problem.kind == SaveProblem::Kind::unreadable)
        return "not loaded, because of " + problem.reason;
    if (problem.kind == SaveProblem::Kind::notShared)
        return problem.reason;
    return "not saved, because " + problem.reason + "; VELLO tries again until it can";
}

SaveProblem saveProblem(const std::exception& error) {
    if (const auto* failure = dynamic_cast<const SaveFailure*>(&error))
        return failure->problem();
    if (const auto* failure = dynamic_cast<const std::system_error*>(&error))
        return {kindOf(failure->code().value()), failure->what()};
    return {SaveProblem::Kind::other, error.what()};
}

} // namespace vello

// SPDX-License-Identifier: Apache-2.0
#include "Control/CommandLine/OutputFormat.h"

#include "Control/CommandLine/CommandLine.h"
#include "Control/State/StateJSON.h"
#include "Terminal.h"

#include <cerrno>
#include <cstring>
#include <ostream>

namespace vello {

int reportFailure(std::ostream& error, OutputFormat format, std::string_view kind,
                  const std::string& sentence, int exitCode) {
    if (format == OutputFormat::json)
        error << errorJSON(kind, oneLine(sentence), exitCode) << '\n';
    else
        error << "vello: " << oneLine(sentence) << '\n';
    return exitCode;
}

void reportHint(std::ostream& error, OutputFormat format, const std::string& sentence) {
    if (format == OutputFormat::json)
        error << hintJSON(oneLine(sentence)) << '\n';
    else
        error << "vello: " << oneLine(sentence) << '\n';
}

int finishOutput(std::ostream& out, std::ostream& error, OutputFormat format, int exitCode) {
    if (out)
        errno = 0;
    if (out.flush())
        return exitCode;
    const std::string reason = errno == 0 ? "" : std::string(": ") + std::strerror(errno);
    return reportFailure(error, format, "failed", "cannot write to standard output" + reason, kExitFailed);
}

} // namespace vello

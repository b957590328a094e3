// SPDX-License-Identifier: Apache-2.0
#include "Control/CommandLine/Permission.h"

#include "Control/CommandLine/CommandLine.h"
#include "Control/State/StateJSON.h"

#include <algorithm>
#include <cctype>
#include <exception>
#include <istream>
#include <ostream>
#include <string>
#include <string_view>

namespace vello {
namespace {

constexpr int kMostTries = 5;

std::string_view sentence(Consent consent) {
    switch (consent) {
    case Consent::allowed:
        return "VELLO may capture what applications play; to forbid it: vello permission deny";
    case Consent::denied:
        return "VELLO may not capture what applications play; to allow it: vello permission allow";
    case Consent::undecided:
        break;
    }
    return "It is not decided whether VELLO may capture what applications play; to allow it: "
           "vello permission allow";
}

Consent answerTo(PermissionAction action, const AskForConsent& ask) {
    switch (action) {
    case PermissionAction::allow:
        return Consent::allowed;
    case PermissionAction::deny:
        return Consent::denied;
    case PermissionAction::ask:
        return ask();
    case PermissionAction::show:
        break;
    }
    return Consent::undecided;
}

Consent parseAnswer(std::string line) {
    constexpr std::string_view blanks = " \t\r";
    line.erase(line.find_last_not_of(blanks) + 1);
    line.erase(0, line.find_first_not_of(blanks));
    std::ranges::transform(line, line.begin(), [](unsigned char c) { return std::tolower(c); });
    if (line == "y" || line == "yes")
        return Consent::allowed;
    return line == "n" || line == "no" ? Consent::denied : Consent::undecided;
}

} // namespace

int runPermission(PermissionAction action, OutputFormat format, ConsentStore& store, const AskForConsent& ask,
                  std::ostream& out, std::ostream& error) {
    try {
        const Consent answer = answerTo(action, ask);
        if (answer != Consent::undecided)
            store.write(answer);
        const Consent consent = store.read();
        if (action == PermissionAction::ask && answer == Consent::undecided)
            return reportFailure(error, format, "unanswered",
                                 std::string("no answer was given; ").append(sentence(consent)), kExitFailed);
        out << (format == OutputFormat::json ? permissionJSON(consent) : std::string(sentence(consent)))
            << '\n';
        return finishOutput(out, error, format, kExitDone);
    } catch (const std::exception& reason) {
        return reportFailure(error, format, "failed", reason.what(), kExitFailed);
    }
}

Consent askOnTerminal(std::istream& in, std::ostream& out) {
    out << "VELLO needs your permission to capture what applications play: that is how it equalizes them.\n"
           "The sound is processed in memory only; it is never recorded or stored.\n"
           "To change the answer later: vello permission allow, vello permission deny\n";
    std::string line;
    for (int tries = 0; tries < kMostTries; ++tries) {
        out << "Allow it? [y/n] " << std::flush;
        if (!std::getline(in, line)) {
            out << '\n';
            return Consent::undecided;
        }
        if (const Consent answer = parseAnswer(line); answer != Consent::undecided)
            return answer;
    }
    return Consent::undecided;
}

} // namespace vello

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/Diagnosis/DiagnosisPage.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace vello {

/// What stands for the names of applications on a page.
class NameCover {
public:
    NameCover(const DiagnosisFacts& facts, ApplicationNames names);

    /// The application of a stream: its name, or "application 1". Safe for a terminal.
    std::string application(const AudioNodeFacts& stream) const;
    /// A line of the log, in which nothing names an application.
    std::string line(const std::string& text) const;

private:
    void cover(const std::string& name, const std::string& instead);

    const AudioServerFacts& server_;
    ApplicationNames names_;
    std::map<std::string, std::string> aliases_; ///< by the name of the application
    /// Every word that names an application, and what replaces it; the longest first.
    std::vector<std::pair<std::string, std::string>> words_;
};

/// The name of the application that a stream belongs to, as the audio server knows it.
std::string applicationName(const AudioServerFacts& server, const AudioNodeFacts& stream);

} // namespace vello

// SPDX-License-Identifier: Apache-2.0
#include "BusConfiguration.h"

namespace vello::session {

std::string busConfiguration(const std::filesystem::path& services) {
    return "<busconfig>\n"
           "  <type>session</type>\n"
           "  <listen>unix:tmpdir=/tmp</listen>\n" +
           (services.empty() ? std::string{} : "  <servicedir>" + services.string() + "</servicedir>\n") +
           "  <policy context=\"default\">\n"
           "    <allow send_destination=\"*\" eavesdrop=\"true\"/>\n"
           "    <allow eavesdrop=\"true\"/>\n"
           "    <allow own=\"*\"/>\n"
           "  </policy>\n"
           "</busconfig>\n";
}

} // namespace vello::session

// SPDX-License-Identifier: Apache-2.0
#include "AskRunningInstance.h"

#include "Control/Bus/Client.h"

#include <QCoreApplication>

#include <cstdlib>
#include <iostream>
#include <unistd.h>

namespace vello {

void askRunningInstance(const ClientRequest& request, int argumentCount, char** arguments) {
    const QCoreApplication application(argumentCount, arguments);
    const int exitCode = runClient(request, {std::cout, std::cerr, ::isatty(STDOUT_FILENO) == 1});
    std::cout.flush();
    // Without the end of static objects: the bus library's thread may still be at work, and where it meets a
    // half-ended process it complains on standard error.
    std::quick_exit(exitCode);
}

} // namespace vello

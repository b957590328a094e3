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
    // Skips the destruction of static objects: the D-Bus library's thread may still be running, and prints
    // errors while the process is torn down.
    std::quick_exit(exitCode);
}

} // namespace vello

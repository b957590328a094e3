// SPDX-License-Identifier: Apache-2.0
//
// kernel_check [KERNEL...]: compares every kernel that this processor supports with the reference, and prints
// the chosen one. Fails if a kernel disagrees, or if the kernels are not exactly the KERNELs given (fastest
// first, "reference" last). It depends only on the realtime core, so it can be built for any processor and
// run in an emulator.
#include "../KernelCases.h"
#include "AudioEngine/Realtime/BlockKernelChoice.h"

#include <cstdio>
#include <cstring>

namespace vello {
namespace {

bool isRight(const BlockKernelVariant& variant, const std::vector<test::KernelCase>& cases) {
    if (!passesSelfTest(variant.kernel)) {
        std::printf("%s fails the self-test\n", variant.name);
        return false;
    }
    for (const test::KernelCase& kernelCase : cases)
        if (const std::string fault = test::disagreement(variant.kernel, kernelCase); !fault.empty()) {
            std::printf("%s: %s\n", variant.name, fault.c_str());
            return false;
        }
    return true;
}

bool areNamed(const std::vector<BlockKernelVariant>& kernels, int count, char** names) {
    bool equal = kernels.size() == static_cast<std::size_t>(count);
    for (int i = 0; equal && i < count; ++i)
        equal = std::strcmp(kernels[static_cast<std::size_t>(i)].name, names[i]) == 0;
    return equal;
}

void printKernels(const std::vector<BlockKernelVariant>& kernels) {
    std::printf("kernels:");
    for (const BlockKernelVariant& variant : kernels)
        std::printf(" %s", variant.name);
    std::printf("; chosen: %s\n", processBlockKernel().chosen.name);
    std::fflush(stdout); // in case the program is killed later
}

/// Prints `fault` unless `condition` holds.
bool holds(bool condition, const std::string& fault) {
    if (!condition)
        std::printf("%s\n", fault.c_str());
    return condition;
}

int run(int count, char** names) {
    const auto kernels = blockKernels();
    const auto cases = test::kernelCases();
    printKernels(kernels);
    bool isFine = true;
    for (const BlockKernelVariant& variant : kernels)
        isFine &= isRight(variant, cases);
    isFine &= holds(processBlockKernel().refused.empty(), processBlockKernel().complaint());
    isFine &= holds(count == 0 || areNamed(kernels, count, names),
                    "These are not the kernels that this processor should have.");
    return isFine ? 0 : 1;
}

} // namespace
} // namespace vello

int main(int argc, char** argv) {
    return vello::run(argc - 1, argv + 1);
}

// SPDX-License-Identifier: Apache-2.0
#include "Foundation/RandomUUID.h"

#include <array>
#include <cstdio>
#include <random>

namespace vello {

std::string randomUUID() {
    std::random_device device;
    std::uniform_int_distribution<unsigned> anyByte(0, 0xff);
    std::array<unsigned, 16> bytes{};
    for (unsigned& byte : bytes)
        byte = anyByte(device);
    bytes[6] = (bytes[6] & 0x0fU) | 0x40U; // version
    bytes[8] = (bytes[8] & 0x3fU) | 0x80U; // variant

    std::string text;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        std::array<char, 3> digits{};
        std::snprintf(digits.data(), digits.size(), "%02x", bytes[i]);
        text += i == 4 || i == 6 || i == 8 || i == 10 ? "-" : "";
        text += digits.data();
    }
    return text;
}

} // namespace vello

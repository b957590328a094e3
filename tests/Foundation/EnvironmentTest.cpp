// SPDX-License-Identifier: Apache-2.0
#include "Foundation/Environment.h"

#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <map>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace vello {
namespace {

class SessionBusAddressTest : public testing::Test {
protected:
    std::string address() const {
        return sessionBusAddress([this](const char* name) {
            const auto variable = variables_.find(name);
            return variable == variables_.end() ? nullptr : variable->second.c_str();
        });
    }
    /// A socket of that name, on which nothing listens.
    static void makeSocket(const std::string& path) {
        const int descriptor = ::socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un name{AF_UNIX, {}};
        ASSERT_LT(path.size(), sizeof name.sun_path);
        path.copy(name.sun_path, path.size());
        EXPECT_EQ(::bind(descriptor, reinterpret_cast<const sockaddr*>(&name), sizeof name), 0);
        ::close(descriptor);
    }

    TemporaryFolder folder_;
    std::map<std::string, std::string> variables_;
};

TEST_F(SessionBusAddressTest, IsWhatTheEnvironmentSays) {
    variables_ = {{"DBUS_SESSION_BUS_ADDRESS", "unix:path=/elsewhere"}, {"XDG_RUNTIME_DIR", "/run/user/1"}};
    EXPECT_EQ(address(), "unix:path=/elsewhere");
}

TEST_F(SessionBusAddressTest, ElseTheSocketBesideTheOthersOfTheSession) {
    const auto runtime = folder_ / "run time";
    std::filesystem::create_directories(runtime);
    makeSocket((runtime / "bus").string());
    variables_ = {{"DBUS_SESSION_BUS_ADDRESS", ""}, {"XDG_RUNTIME_DIR", runtime.string()}};
    EXPECT_EQ(address(), "unix:path=" + folder_.path().string() + "/run%20time/bus");
}

TEST_F(SessionBusAddressTest, IsEmptyWhereThereIsNoBus) {
    EXPECT_EQ(address(), "");
    variables_ = {{"XDG_RUNTIME_DIR", folder_.path().string()}};
    EXPECT_EQ(address(), "") << "there is no socket";
    std::filesystem::create_directories(folder_ / "bus");
    EXPECT_EQ(address(), "") << "a folder is no socket";
    variables_ = {{"XDG_RUNTIME_DIR", ""}};
    EXPECT_EQ(address(), "");
}

} // namespace
} // namespace vello

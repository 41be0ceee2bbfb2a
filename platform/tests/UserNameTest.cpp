#include "platform/UserName.h"

#include <gtest/gtest.h>

#include <pwd.h>
#include <unistd.h>

#include <cstring>
#include <string>

TEST(UserName, IsTheProcessOwnerWithWindowsSizes)
{
    const passwd* owner = ::getpwuid(::geteuid());
    ASSERT_NE(owner, nullptr);
    const std::string expected = owner->pw_name;

    char buffer[250];
    DWORD size = sizeof buffer;
    ASSERT_EQ(GetUserNameA(buffer, &size), TRUE);
    EXPECT_EQ(std::string(buffer), expected);
    EXPECT_EQ(size, expected.size() + 1);  // with the NUL

    DWORD small = static_cast<DWORD>(expected.size());  // one short
    std::memset(buffer, 'x', sizeof buffer);
    EXPECT_EQ(GetUserNameA(buffer, &small), FALSE);
    EXPECT_EQ(small, expected.size() + 1);
    EXPECT_EQ(buffer[0], 'x');
    EXPECT_EQ(GetUserNameA(buffer, &small), TRUE);  // the size it asked for is enough
    EXPECT_EQ(GetUserNameA(buffer, nullptr), FALSE);
}

#include "Imaging/HostFacts.h"
#include "ScopedEnvironment.h"

#include <gmock/gmock.h>
#include <vector>

TEST(HostFacts, TheTimeCanBeFixed)
{
    const AScopedEnvironment zone("TZ", "Asia/Tokyo");
    for (const auto& [epoch, stamp] :
         {std::pair("951827696", "2000-02-29T12:34:56Z"), std::pair("253402300799", "9999-12-31T23:59:59Z")})
    {
        const AScopedEnvironment fixed("SOURCE_DATE_EPOCH", epoch);
        EXPECT_EQ(stamp, CreateTimeStamp());
    }
    for (const char* const unusable : {"", "12x", " 12", "-1", "253402300800", "99999999999999999999"})
    {
        const AScopedEnvironment fixed("SOURCE_DATE_EPOCH", unusable);
        EXPECT_NEAR(static_cast<double>(GetCurrentTime()), static_cast<double>(std::time(nullptr)), 60) << unusable;
    }
}

TEST(HostFacts, UUIDsAreRandomAndLowerCase)
{
    const std::string uuid = CreateUUID();
    EXPECT_THAT(uuid, testing::MatchesRegex("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}"));
    EXPECT_NE(uuid, CreateUUID());
}

TEST(HostFacts, SystemVersionIsPackedByDigits)
{
    const auto getVersion = [](const char* inText)
    {
        const AScopedEnvironment version("VX_SYSTEM_VERSION", inText);
        return GetSystemVersion();
    };
    EXPECT_EQ(getVersion("10.3"), 0x1030U);
    EXPECT_EQ(getVersion("10.3.9"), 0x1039U);
    EXPECT_EQ(getVersion("9.2.1"), 0x0921U);
    EXPECT_EQ(getVersion(nullptr), 0x1050U);
    EXPECT_THAT((std::vector{"", "10", "10.", "10.10", "10.3.", "10.3.11", "x.3", ".3.9", "10.3x9", "123.4", "10.a",
                             "1f.3", "10.3 "}),
                testing::Each(testing::ResultOf(getVersion, 0x1050U)));
}

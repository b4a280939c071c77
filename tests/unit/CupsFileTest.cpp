#include "Foundation/CupsFile.h"
#include "TemporaryFolder.h"

#include <array>
#include <cerrno>
#include <gtest/gtest.h>
#include <unistd.h>

// The next bytes of a file would be the wrong ones; those of a pipe are its next ones whatever was tried.
TEST(CupsFile, AFailedSeekEndsTheReadingOfAFileAndNotOfAPipe)
{
    const ATemporaryFolder folder;
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    EXPECT_EQ(write(ends[1], "one\ntwo\n", 8), 8);
    close(ends[1]);
    for (const auto& [name, error, rest] : {std::tuple(folder.Write("job", "one\ntwo\n"), EINVAL, ""),
                                            std::tuple("/dev/fd/" + std::to_string(ends[0]), 0, "two\n")})
    {
        ACupsFile file(name);
        ASSERT_TRUE(file.OpenForRead());
        bool isEOF = false;
        EXPECT_EQ(file.ReadLine(isEOF).fText, "one\n");
        EXPECT_EQ(file.SetPosition(-1, SEEK_SET), -1);
        EXPECT_EQ(file.GetReadError(), error);
        EXPECT_EQ(file.ReadLine(isEOF).fText, rest);
    }
    close(ends[0]);
}

#include <fcntl.h>

#include <gtest/gtest.h>

#include "base/base_file.h"
#include "common/test_files.h"

TEST(BaseFile, WritesReadsSeeksAndDeletes)
{
    std::string path = kvtest::ScratchPath("base_file.bin");
    int out = BaseFileOpen(path.c_str(), BaseFileMode::WriteTruncate);
    ASSERT_GE(out, 0);
    EXPECT_EQ(BaseFileWrite(out, "abcdef", 6), 6);
    EXPECT_EQ(BaseFileClose(out), 0);

    int in = BaseFileOpen(path.c_str(), BaseFileMode::Read);
    ASSERT_GE(in, 0);
    EXPECT_EQ(BaseFileSeek(in, 0, SEEK_END), 6);
    EXPECT_EQ(BaseFileSeek(in, 2, SEEK_SET), 2);
    char buffer[8] = {};
    EXPECT_EQ(BaseFileRead(in, buffer, 8), 4);  // short read at the end
    EXPECT_STREQ(buffer, "cdef");
    BaseFileClose(in);

    EXPECT_TRUE(BaseFileDelete(path.c_str()));
    EXPECT_FALSE(BaseFileDelete(path.c_str()));
    EXPECT_EQ(BaseFileOpen(path.c_str(), BaseFileMode::Read), -1);
}

TEST(BaseFile, RefusesDirectoriesAndNullPaths)
{
    EXPECT_EQ(BaseFileOpen("/tmp", BaseFileMode::Read), -1);
    EXPECT_EQ(BaseFileOpen(nullptr, BaseFileMode::Read), -1);
}

TEST(BaseFile, TempNamesAreUniqueAndKeepTheExtension)
{
    std::string first, second;
    ASSERT_TRUE(MakeTempFileName(first, "svg"));
    ASSERT_TRUE(MakeTempFileName(second, "svg"));
    EXPECT_NE(first, second);
    EXPECT_EQ(first.substr(first.size() - 4), ".svg");
    EXPECT_TRUE(BaseFileDelete(first.c_str()));
    EXPECT_TRUE(BaseFileDelete(second.c_str()));
}

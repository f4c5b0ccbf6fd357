// The models that the example programs build (examples/make_csg, examples/make_fem), read back
// from their committed output without a report and written back byte for byte, so that every
// pointer lands where the program linked it.
#include <gtest/gtest.h>

#include "support/corpus.h"
#include "support/file_read.h"

TEST(Examples, ReadAndWriteBackByteForByte) {
  for (auto [name, size] : {std::pair{"csg_part.igs", 7u}, {"fem_part.igs", 25u}}) {
    SCOPED_TRACE(name);
    std::string bytes = igeslib_test::contents(std::string("examples/data/") + name);
    igeslib_test::FileRead read(bytes);
    EXPECT_EQ(read.size(), size);
    EXPECT_EQ(read.reports.count(), 0u) << read.reports.text();
    EXPECT_EQ(read.written(1), bytes);
  }
}

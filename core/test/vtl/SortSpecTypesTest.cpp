#include "qel/core/vtl/SortSpecTypes.h"

#include <gtest/gtest.h>

#include "core/test/vtl/VtlTestUtil.h"

namespace qel::core {
namespace {

TEST(SortSpecTypesTest, TextsAndAnUnknownOrder) {
    std::string texts;
    for (int order = 0; order < 4; ++order)
        texts += SortSpecOrderToString(static_cast<SortSpecOrder>(order)).toStdString() + " ";
    EXPECT_EQ(texts, "UNKNOWN ASC DESC UNORD ");
    EXPECT_EQ(test::Refused([] { SortSpecOrderToString(static_cast<SortSpecOrder>(4)); }),
              "unspecified Vantrel Runtime error\nUnknown sort order |  @ "
              "Source: core/main/vtl/SortSpecTypes");
}

}  // namespace
}  // namespace qel::core

#include "qel/core/utility/QelColor.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "core/test/ThrownText.h"

namespace qel::core {
namespace {

using test::ThrownText;

auto const Text = [](QelColor c) { return c.ToString().toStdString(); };

TEST(QelColorTest, PackingOrderAndText) {
    QelColor const opaque(1, 2, 3, 255);
    EXPECT_EQ(opaque.AsInt32(), static_cast<int>(0xff010203u));
    EXPECT_LT(opaque.AsInt32(), 0);
    using U = unsigned char;
    EXPECT_EQ(opaque, QelColor(U{1}, U{2}, U{3}, U{255}));
    EXPECT_EQ(std::vector({opaque.GetR(), opaque.GetG(), opaque.GetB(), opaque.GetA()}),
              std::vector({1, 2, 3, 255}));
    EXPECT_EQ(Text(opaque), "ff010203");  // alpha first
    EXPECT_EQ(Text(QelColor(0xab, 0, 0x10, 0x7f)), "7fab0010");
    EXPECT_EQ(Text(QelColor::FromInt32(-1)), "ffffffff");

    // Signed order: a high alpha sorts below a low one.
    QelColor const clear(1, 2, 3, 0);
    EXPECT_TRUE(opaque < clear);
    EXPECT_TRUE(clear > opaque);
    EXPECT_TRUE(QelColor(0, 0, 1, 0) > QelColor(0, 0, 0, 0));
    // The hash is the packed value sign-extended, as the order treats it.
    EXPECT_EQ(opaque.GetHashValue(), std::size_t{0xffffffffff010203u});
    EXPECT_EQ(std::hash<QelColor>()(clear), 0x010203u);
}

TEST(QelColorTest, ChannelsAreValidatedRedGreenBlueAlpha) {
    // Each row: the channels, then the one reported: the first bad one in
    // red, green, blue, alpha order.
    std::tuple<int, int, int, int, std::string> const rows[] = {
        {-1, 0, 0, 0, "red"},     {256, 0, 0, 0, "red"},   {0, 256, 0, 0, "green"},
        {0, 0, -1, 0, "blue"},    {0, 0, 0, 256, "alpha"}, {0, 0, 0, -1, "alpha"},
        {0, 0, 300, 300, "blue"}, {-1, -1, -1, -1, "red"}};
    for (auto const& row : rows) {
        // Plain copies: a lambda may not capture a structured binding.
        int const r = std::get<0>(row), g = std::get<1>(row), b = std::get<2>(row),
                  a = std::get<3>(row);
        std::string const& channel = std::get<4>(row);
        EXPECT_EQ(ThrownText([&] { QelColor(r, g, b, a); }),
                  "invalid " + channel + " value\nMust be between 0 and 255")
            << r << " " << g << " " << b << " " << a;
    }
    EXPECT_EQ(Text(QelColor(255, 255, 255, 255)), "ffffffff");
}

TEST(QelColorTest, SettersReplaceOneChannel) {
    QelColor c(0x11, 0x22, 0x33, 0x44);
    c.SetR(0xa1);
    c.SetG(0);
    c.SetB(0xff);
    EXPECT_EQ(Text(c), "44a100ff");
    c.SetA(0xee);
    EXPECT_EQ(Text(c), "eea100ff");
    EXPECT_LT(c.AsInt32(), 0);
    // A refused value leaves the colour as it was.
    std::string const range = "\nMust be between 0 and 255";
    EXPECT_EQ(ThrownText([&] { c.SetR(256); }), "invalid red value" + range);
    EXPECT_EQ(ThrownText([&] { c.SetG(-1); }), "invalid green value" + range);
    EXPECT_EQ(ThrownText([&] { c.SetB(1000); }), "invalid blue value" + range);
    EXPECT_EQ(ThrownText([&] { c.SetA(-128); }), "invalid alpha value" + range);
    EXPECT_EQ(Text(c), "eea100ff");
    c.SetValue(0x01020304);
    EXPECT_EQ(Text(c), "01020304");
}

}  // namespace
}  // namespace qel::core

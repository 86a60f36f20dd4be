#include "analyse/mail_addresses.h"

#include <gtest/gtest.h>

#include "core/shift_jis.h"

namespace postkite::analyse {
namespace {

using namespace core::literals;

TEST(MailAddresses, TheBareAddressOfALine) {
    const struct {
        std::string_view line;
        std::string_view address;
    } kLines[] = {
        {"From: Taro <taro@example.com>", "taro@example.com"},
        {"From: taro@example.com (Taro Yamada)", "taro@example.com"},
        {"From: taro@example.com", "taro@example.com"},
        {"From: [taro@example.com] <b@c>", "taro@example.com"},
        {"From: (a@b)", "a@b"},
        {"From: x@y\rz", "x@y"},
        {"From:taro@example.com", "aro@example.com"},  // nothing before it: what is behind "From: "
        {"a@b", ""},
        {"<a@b>", ""},
        // The trail byte of a letter and of a byte that only this range takes for a lead byte.
        {"From: ア <a@b>"_sjis, "a@b"},
        {"From: \xFD@c <a@b>", "a@b"},
        {"From: \x80@c <a@b>", "a@b"},
    };
    for (const auto& [line, address] : kLines) {
        std::string out = "as it was";
        EXPECT_EQ(ExtractInetAddress(line, out), 0) << line;
        EXPECT_EQ(out, address) << line;
    }
    for (const std::string_view line : {std::string_view(""), std::string_view("From: Taro"), "From: ア"_sjis,
                                        std::string_view("\x83"), std::string_view("\x83@")}) {
        std::string out = "as it was";
        EXPECT_EQ(ExtractInetAddress(line, out), -1) << line;
        EXPECT_EQ(out, "as it was");
    }
}

TEST(MailAddresses, TheNameInAValue) {
    const struct {
        std::string_view value;
        std::string_view name;
    } kValues[] = {
        {" Taro Yamada <taro@example.com>", "Taro Yamada"},
        {"taro@example.com (Taro Yamada)", "Taro Yamada"},
        {" \"Yamada, Taro\" <taro@example.com> ", "Yamada, Taro"},
        {"<taro@example.com>", "taro@example.com"},
        {" taro@example.com ", "taro@example.com"},
        {"<taro@example.com> Taro", "Taro"},
        {"Taro <taro@example.com> Jr.", "Taro  Jr."},
        {"taro@example.com (Taro (the first) Yamada) x", "Taro (the first) Yamada"},
        {"Taro <t@x> (by way of Hanako <h@x>)", "Taro"},
        {"\"a < b\" <t@x>", "a < b"},
        {"a \\< b", "a \\< b"},
        {"Taro \"Kite\" <t@x>", "Taro \"Kite\""},
        {"t@x (open", "open"},
        {"t@x ()", ""},
        {"<>", ""},
        {"\"", ""},
        {"(", ""},
        {">", ">"},
        {"a<b", "a"},
        {"   ", ""},
        {"", ""},
    };
    for (const auto& [value, name] : kValues) {
        std::string text(value);
        ExtractDisplayName(text);
        EXPECT_EQ(text, name) << value;
    }
}

}  // namespace
}  // namespace postkite::analyse

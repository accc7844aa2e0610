// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "message_dump.h"

#include <gtest/gtest.h>

#include <random>

namespace {

struct ParseCase {
    char const* text;
    char const* pieces;
};

ParseCase const displayCases[] = {
    { "", "" },
    { "**bold** _it_ ~~s~~ ||x|| > q", "[text **bold** _it_ ~~s~~ ||x|| > q]" },
    // custom emoji
    { "x<:a:1><a:b_2:2>y", "[text x][emoji 1 a][emoji 2 b_2][text y]" },
    { "<:a b:1>", "[text <:a b:1>]" },
    { "<b:a:1>", "[text <b:a:1>]" },
    { "<:a:>", "[text <:a:>]" },
    { "<:a:007>", "[emoji 7 a]" },
    { "<:a:18446744073709551616>", "[text <:a:18446744073709551616>]" },
    { "<:a:18446744073709551615>", "[text <:a:18446744073709551615>]" },
    { "<:a:18446744073709551614>", "[emoji 18446744073709551614 a]" },
    // mentions
    { "<@5> <@!6> <#7> <@&8>", "[user 5][text  ][user 6][text  ][channel 7][text  ][role 8]" },
    { "<@5", "[text <@5]" },
    { "<@!&5>", "[text <@!&5>]" },
    { "<@99999999999999999999>!", "[text <@99999999999999999999>][text !]" },
    // addresses
    { "http://a", "[text ][url http://a]" },
    { "see https://a.b/c?d#e.", "[text see][text  ][url https://a.b/c?d#e.]" },
    { "xhttp://a (http://a) HTTP://a ftp://a http://",
      "[text xhttp://a (http://a) HTTP://a ftp://a http://]" },
    { "a\nhttp://b\nc", "[text a][text \n][url http://b][text \nc]" },
    { "http://a http://b", "[text ][url http://a][text  ][url http://b]" },
    { "http://a/<@5>`b`", "[text ][url http://a/<@5>`b`]" },
    { "<@5>http://a", "[user 5][text http://a]" },
    // inline code
    { "a `<@5>` b", "[text a ][text ][code <@5>][text  b]" },
    { "`a\nb`", "[text ][code a\nb]" },
    { "``", "[text ``]" },
    { "`a``b`", "[text ][code a][text ][code b]" },
    { "` http://a` c", "[text ][code  http://a][text  c]" },
    // fenced blocks
    { "```cpp\nint x;\n```", "[block int x; / ```cpp\nint x;\n```]" },
    { "```int x;```", "[block int x; / ```int x;```]" },
    { "```cpp\n```", "[block cpp / ```cpp\n```]" },
    { "``````", "[block  / ``````]" },
    { "```\n```", "[block  / ```\n```]" },
    { "```\n\n```", "[block  / ```\n\n```]" },
    { "```a b\nc\nd```", "[block c\nd / ```a b\nc\nd```]" },
    { "x```y```\n\nz", "[text x][block y / ```y```\n][text \nz]" },
    { "```a``````b```", "[block a / ```a```][block b / ```b```]" },
    { "````", "[text ````]" },
    { "``` <@5>", "[text ``` ][user 5]" },
    { "```a`b", "[text ``][text ][code a][text b]" },
    { "```a``` ```b", "[block a / ```a```][text  ```b]" },
    { "```<@5> http://a```", "[block <@5> http://a / ```<@5> http://a```]" },
    { "`a ```b``` c`", "[text `a ][block b / ```b```][text  c`]" },
};

ParseCase const inputCases[] = {
    { "", "" },
    { "a:smile:b", "[text a][shortcode smile][text b]" },
    { ":a:b:c:", "[shortcode a][text b][shortcode c]" },
    { ":: :a b: :+1:", "[text :: :a b: :+1:]" },
    { ":a-b_1:", "[shortcode a-b_1]" },
    { "`:a:` ```@b#1```", "[text `][shortcode a][text ` ```][name b / 1][text ```]" },
    { "hi @ann bee#12!", "[text hi ][name ann bee / 12][text !]" },
    { "@ann#x", "[name ann][text x]" },
    { "@ann @#1", "[text @ann @#1]" },
    { "@@ann#1", "[text @][name ann / 1]" },
    { "a@b\nc#1", "[text a][name b\nc / 1]" },
    // The scanner goes back for the shortcode inside the name that it has just taken.
    { "@a:b:c#1 :d:", "[name a:b:c / 1][text ][shortcode b][text c#1 ][shortcode d]" },
    { ":a:@b#1", "[shortcode a][name b / 1]" },
};

TEST(MessageParse, Tables)
{
    for (ParseCase const& c : displayCases) {
        QString const text = QString::fromUtf8(c.text);
        EXPECT_EQ(displayDump(text).toStdString(), c.pieces) << c.text;
    }
    for (ParseCase const& c : inputCases) {
        QString const text = QString::fromUtf8(c.text);
        EXPECT_EQ(inputDump(text).toStdString(), c.pieces) << c.text;
    }
}

TEST(MessageParse, NamesAndShortcodesHaveAtMostFiftyCharacters)
{
    QString const fifty(50, QLatin1Char('n'));
    EXPECT_EQ(inputDump(QLatin1Char('@') + fifty + QLatin1String("#1:") + fifty + QLatin1Char(':')),
              QStringLiteral("[name %1 / 1][shortcode %1]").arg(fifty));
    QString const longer = QStringLiteral("@n%1#1 :n%1:").arg(fifty);
    EXPECT_EQ(inputDump(longer), QStringLiteral("[text %1]").arg(longer));
}

// Texts made of the parts that matter, so that they meet in every way.
TEST(MessageParse, ThePiecesOfRandomTextsCoverThem)
{
    static char const* const parts[] = {
        "`",      "``",         "```",     "\n",        " ",   "<",
        ">",      "<@",         "<@!",     "<#",        "<@&", "<:",
        "<a:",    ":",          "@",       "#",         "12",  "99999999999999999999",
        "a",      "b_c",        "http://", "https://x", "/",   "word ",
        "\u00e4", "\U0001f600",
    };
    std::mt19937 random(7);
    for (int i = 0; i < 20000; ++i) {
        QString text;
        for (int n = int(random() % 14); n > 0; --n)
            text += QString::fromUtf8(parts[random() % std::size(parts)]);
        ASSERT_TRUE(displayCovers(QStringRef(&text))) << text.toStdString();
        ASSERT_TRUE(displayCovers(text.midRef(text.size() / 3))) << text.toStdString();
        inputDump(text); // whatever it says, it ends
    }
}

} // namespace

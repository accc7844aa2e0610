// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_chat_input_rewrite.h"
#include "text_fixture.h"

#include <gtest/gtest.h>

namespace {

class RewriteTest : public TextFixture { };

struct RewriteCase {
    char const* from;
    char const* to;
};

TEST_F(RewriteTest, TypedTextBecomesMarkup)
{
    static RewriteCase const cases[] = {
        { "", "" },
        { "hello", "hello" },
        { ":wave:", "<:wave:40>" }, // the first of two by that name
        { "a:wave:b :Wave: :none:", "a<:wave:40>b :Wave: :none:" },
        { ":spin:", ":spin:" }, // animated ones are for those who pay
        { "@ann#0001 hi", "<@1> hi" },
        { "@ANN#0001", "<@1>" },
        { "@ann#0002", "@ann#0002" },
        { "@bob#", "<@2>" },
        { "@nobody#", "@nobody#" },
        { "@ann", "@ann" },
        { "`:wave:` ```@bob#```", "`<:wave:40>` ```<@2>```" },
        { "@a:wave:c#1", "@a:wave:c#1<:wave:40>c#1" },
        { "\U0001f600 \u00e4 <@5>", "\U0001f600 \u00e4 <@5>" },
    };
    for (RewriteCase const& c : cases) {
        EXPECT_EQ(DisUtils::parseChatInputAsUserInChannel(FlakeId(1), FlakeId(20),
                                                          QString::fromUtf8(c.from))
                      .toStdString(),
                  c.to)
            << c.from;
    }
    exec("update user set premium = 1 where id = 1");
    EXPECT_EQ(
        DisUtils::parseChatInputAsUserInChannel(FlakeId(1), FlakeId(20), QStringLiteral(":spin:")),
        QStringLiteral("<a:spin:41>"));
}

TEST_F(RewriteTest, StoredTextBecomesEditable)
{
    static RewriteCase const cases[] = {
        { "", "" },
        { "a **b**", "a **b**" },
        { "<:wave:40> <a:spin:41>", ":wave: :spin:" },
        { "<@1> <@!2>", "@ann#0001 @bob#0002" },
        { "<@3> <@99>", "<@3> <@99>" },
        { "<#20> <#21>", "#general #21" },
        { "<@&30> <@&32>", "@staff @32" },
        { "see http://a/<@1>", "see http://a/<@1>" },
        { "x `<@1>` y", "x `<@1>` y" },
        { "x\n```cpp\n<@1>\n```\ny", "x\n```cpp\n<@1>\n```\ny" },
    };
    for (RewriteCase const& c : cases) {
        EXPECT_EQ(
            DisUtils::reverseChatParseAsUser(FlakeId(1), QString::fromUtf8(c.from)).toStdString(),
            c.to)
            << c.from;
    }
}

} // namespace

// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_chat_input_rewrite.h"
#include "text_fixture.h"

namespace {

class RewriteTest : public TextFixture { };

TEST_F(RewriteTest, TypedTextBecomesMarkupAndStoredTextEditable)
{
    auto const typed = [](QString const& text) {
        return DisUtils::parseChatInputAsUserInChannel(FlakeId(1), FlakeId(20), text).toStdString();
    };
    auto const edited = [](QString const& text) {
        return DisUtils::reverseChatParseAsUser(FlakeId(1), text).toStdString();
    };
    struct Case {
        char const* from;
        char const* to;
    };
    static Case const typedCases[] = {
        { "", "" },
        { "a:wave:b :Wave: :none:", "a<:wave:40>b :Wave: :none:" }, // the first of two by that name
        { ":spin:", ":spin:" }, // animated ones are for those who pay
        { "@ann#0001 hi", "<@1> hi" },
        { "@ANN#0001", "<@1>" },
        { "@ann#0002", "@ann#0002" },
        { "@bob#", "<@2>" },
        { "@nobody# @ann", "@nobody# @ann" },
        { "`:wave:` ```@bob#```", "`<:wave:40>` ```<@2>```" },
        { "@a:wave:c#1", "@a:wave:c#1<:wave:40>c#1" },
        { "\U0001f600 \u00e4 <@5>", "\U0001f600 \u00e4 <@5>" },
    };
    static Case const storedCases[] = {
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
    for (Case const& c : typedCases)
        EXPECT_EQ(typed(QString::fromUtf8(c.from)), c.to) << c.from;
    for (Case const& c : storedCases)
        EXPECT_EQ(edited(QString::fromUtf8(c.from)), c.to) << c.from;
    run("update user set premium = 1 where id = 1");
    EXPECT_EQ(typed(QStringLiteral(":spin:")), "<a:spin:41>");
}

} // namespace

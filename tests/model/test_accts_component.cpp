// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// What the accounts view says of an account, and what it makes of a pasted token.
#include "dis_accts_component.h"

#include <gtest/gtest.h>

using DisAcctsComponentImpl::tokenFromInput;
using TokenState = DisStoredAccount::AuthTokenState;

TEST(AcctsComponent, TokensAreTakenWithoutQuotesAndBlanks)
{
    char const* const cases[][2] = {
        { "abc", "abc" },     { "  \"abc\"\n", "abc" }, { "\" abc \"", "abc" },
        { "a\"b\"c", "abc" }, { " \" \" ", "" },        { "'abc'", "'abc'" },
    };
    for (auto const& [pasted, token] : cases)
        EXPECT_EQ(tokenFromInput(QString::fromLatin1(pasted)).toStdString(), token);
}

TEST(AcctsComponent, StatesAsWords)
{
    QStringList words;
    for (int state = 0; state <= 4; ++state)
        words << DisAcctsComponentImpl::connStateDecorations(DisSessionStateType(state)).text;
    for (bool const tellAccepted : { false, true })
        for (int state = 0; state <= 3; ++state)
            words << DisAcctsComponentImpl::tokenStateDeocrations(TokenState(state), tellAccepted)
                         .text;
    EXPECT_EQ(words.join(u'/').toStdString(),
              "Offline////Online/"
              "No token/Token not yet tested//Token was rejected/"
              "No token/Token not yet tested/Token accepted/Token was rejected");
}

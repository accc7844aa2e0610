// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// A new user: an empty data directory, a token typed by hand, first a wrong one; then the side bar,
// a channel, and the same again after a restart, with nothing asked.

#include "client.h"

#include <gtest/gtest.h>

namespace {

QString const goodToken = QStringLiteral("the-good-token");

stage::StageOptions smallStage()
{
    stage::StageOptions options;
    options.token = goodToken;
    options.world.guilds = 2;
    return options;
}

} // namespace

TEST(Accounts, FromNothingToAConversationAndBack)
{
    stage::Stage stage(smallStage());
    Client client(stage, QString());
    ASSERT_TRUE(client.start()) << client.output().toStdString();
    ASSERT_TRUE(waitUntil([&] { return client.title() == QLatin1String("Accounts - Nakwire"); }));

    // By keys alone: the menu's first entry is a menu with the one thing to add.
    client.key(QStringLiteral("alt+a"));
    client.key(QStringLiteral("Right"));
    client.key(QStringLiteral("Return"));
    ASSERT_TRUE(client.focusWindow(QStringLiteral("Add Discord Account")));
    client.type(QStringLiteral(" \"wrong\" "));
    client.key(QStringLiteral("Return"));
    ASSERT_TRUE(waitUntil([&] {
        return !stage.requests("GET", QStringLiteral("/gateway")).isEmpty();
    })) << "the first account connects by itself";
    ASSERT_TRUE(client.focusWindow(QStringLiteral("Accounts - Nakwire")));
    ASSERT_TRUE(waitUntil([&] { return stage.connectionCount() == 0; }));

    client.key(QStringLiteral("alt+c"));
    ASSERT_TRUE(client.focusWindow(QStringLiteral("Change Token")));
    client.type(goodToken);
    client.key(QStringLiteral("Return"));
    ASSERT_TRUE(client.focusWindow(QStringLiteral("Accounts - Nakwire")));
    ASSERT_TRUE(stage.expectFrame(2)) << "identified";

    // A row of the side bar, by one click.
    client.stillPicture();
    Windows::click(client.window(), { 60, 250 });
    EXPECT_TRUE(waitUntil([&] { return !client.title().startsWith(QLatin1String("Accounts")); }));
    EXPECT_TRUE(client.showsConversation());
    QString const before = client.title();

    EXPECT_TRUE(client.quit());
    ASSERT_TRUE(client.start());
    EXPECT_TRUE(stage.expectFrame(2)) << "by itself after a restart";
    EXPECT_TRUE(waitUntil([&] { return client.title() == before; }))
        << client.title().toStdString();
}

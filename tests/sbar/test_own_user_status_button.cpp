// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// The user's own status: what the button says of it, and what the service is told.
#include "dis_listen.h"
#include "own_user_status_button.h"
#include "sbar_world.h"
#include "widget_acts.h"

#include <QMenu>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

namespace {

class OwnUserStatus : public testing::Test {
protected:
    OwnUserStatus()
    {
        g_disListenManager = &m_listeners;
        m_button = std::make_unique<NakOwnUserStatusButton>();
        world.sql(QStringLiteral("update user set name = 'a & <b>', discrim = '0007' where id = %1")
                      .arg(world.me.value()));
        world.tell(DisChange::ChangeType::UserPropertiesChanged, world.me);
        m_button->show();
    }
    ~OwnUserStatus() override
    {
        m_button.reset();
        g_disListenManager = nullptr;
    }

    // What stands on it and what it says of itself.
    std::string shown() const
    {
        QString said = m_button->text() + u'|' + m_button->accessibleName();
        return said.replace(u'\n', u'|').toStdString();
    }
    // The menu that Return opens, of which the entry with the text is chosen.
    std::string choose(char const* text)
    {
        pressKeys(m_button.get(), "Return");
        std::unique_ptr<QMenu> const menu(m_button->findChild<QMenu*>());
        std::string const texts = textsOf(menu->actions());
        if (QAction* const action = findByText<QAction>(menu.get(), text))
            action->trigger();
        return texts;
    }
    // The status and the game of the next frame.
    std::string sent()
    {
        QJsonObject frame;
        if (!world.service.expectFrame(3, &frame))
            return "nothing";
        QJsonValue const d = frame[QLatin1String("d")];
        return (d[QLatin1String("status")].toString() + u' '
                + d[QLatin1String("game")][QLatin1String("name")].toString())
            .toStdString();
    }

    SbarWorld world;
    DisListenManager m_listeners{ nullptr };
    std::unique_ptr<NakOwnUserStatusButton> m_button;
};

TEST_F(OwnUserStatus, IsShownAndTold)
{
    EXPECT_EQ(shown(), "a && <b>|a & <b>#0007|Online");
    EXPECT_EQ(choose(""),
              "&Online*|&Idle|&Do Not Disturb|In&visible|-|Set Playing &Game...|-|&Accounts");
    std::string const name = "a && <b>|a & <b>#0007|";
    char const* const rows[][3] = {
        { "Idle", "idle ", "Idle" },
        { "Invisible", "invisible ", "Invisible" },
        { "Online", "online ", "Online" },
        { "Do Not Disturb", "dnd ", "Do Not Disturb" },
    };
    for (auto const& [entry, frame, words] : rows) {
        choose(entry);
        EXPECT_EQ(sent(), frame);
        EXPECT_EQ(shown(), name + words);
    }
    world.manager->setPlayingGameName(world.me, QStringLiteral("chess"));
    EXPECT_EQ(sent(), "dnd chess");
    EXPECT_EQ(shown(), name + "Do Not Disturb, playing chess");

    // Another device, whose choice is taken back by choosing what is chosen here already.
    world.sql(QStringLiteral("update user set status = 4 where id = %1").arg(world.me.value()));
    world.tell(DisChange::ChangeType::UserStatusChanged, world.me);
    EXPECT_EQ(shown(), name + "Online, playing chess");
    choose("Do Not Disturb");
    EXPECT_EQ(sent(), "dnd chess");
    EXPECT_EQ(shown(), name + "Do Not Disturb, playing chess");
}

TEST_F(OwnUserStatus, OutlastsInterruptions)
{
    DisStoredAccount* const account = world.manager->accounts().first();
    std::string const name = account->userName.toStdString();
    auto const waitFor = [this](char const* part, bool wanted) {
        return waitUntil([&] { return (shown().find(part) != std::string::npos) == wanted; });
    };
    choose("Do Not Disturb");
    EXPECT_EQ(sent(), "dnd ");
    world.service.requestReconnect();
    ASSERT_TRUE(waitFor("(offline)", true));
    ASSERT_TRUE(world.service.expectFrame(6));
    EXPECT_EQ(sent(), "dnd ");
    ASSERT_TRUE(waitFor("(offline)", false));

    world.manager->disconnectAccount(account);
    ASSERT_TRUE(waitUntil([&] { return !world.manager->activeUserId().isValid(); }));
    EXPECT_EQ(shown(), name + " (offline)|" + name + "|Offline");
    EXPECT_EQ(
        choose(""),
        "(&Online)|(&Idle)|(&Do Not Disturb*)|(In&visible)|-|(Set Playing &Game...)|-|&Accounts");
    account->authTokenState = DisStoredAccount::AuthTokenState::Rejected;
    emit account->authTokenStateChanged();
    EXPECT_EQ(shown(),
              name + " (token was rejected)|" + name
                  + "|Its token was rejected. Change it in Accounts.");
    world.manager->connectWithAccount(account);
    EXPECT_EQ(sent(), "dnd ");

    QSignalSpy const accounts(m_button.get(), &NakOwnUserStatusButton::accountsWanted);
    world.manager->removeAccount(account);
    EXPECT_EQ(shown(), "No account|No Discord account");
    choose("Accounts");
    EXPECT_EQ(accounts.count(), 1);
}

} // namespace

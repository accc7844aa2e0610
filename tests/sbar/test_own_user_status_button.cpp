// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// The user's own status: what the button says of it, and what the service is told.
#include "dis_listen.h"
#include "own_user_status_button.h"
#include "sbar_world.h"

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
        QString const said = m_button->accessibleName();
        return (m_button->text() + QLatin1String(" | ")
                + QString(said).replace(QLatin1Char('\n'), QLatin1String(" / ")))
            .toStdString();
    }
    // The menu that Return opens, those of its entries in brackets that cannot be chosen; chooses
    // the one with the text.
    std::string choose(char const* text)
    {
        QTest::keyClick(m_button.get(), Qt::Key_Return);
        auto* const menu = m_button->findChild<QMenu*>();
        QStringList texts;
        QAction* chosen = nullptr;
        for (QAction* const action : menu->actions()) {
            QString entry = action->isChecked() ? action->text() + u'*' : action->text();
            if (!action->isSeparator())
                texts << (action->isEnabled() ? entry : u'(' + entry + u')');
            if (action->text() == QLatin1String(text))
                chosen = action;
        }
        if (chosen)
            chosen->trigger();
        delete menu;
        return texts.join(u'|').toStdString();
    }
    std::string sent()
    {
        QJsonObject frame;
        if (!world.service.expectFrame(3, &frame))
            return "nothing";
        QJsonObject const d = frame[QLatin1String("d")].toObject();
        return (d[QLatin1String("status")].toString() + u' '
                + d[QLatin1String("game")].toObject()[QLatin1String("name")].toString())
            .toStdString();
    }

    SbarWorld world;
    DisListenManager m_listeners{ nullptr };
    std::unique_ptr<NakOwnUserStatusButton> m_button;
};

TEST_F(OwnUserStatus, IsShownAndTold)
{
    EXPECT_EQ(shown(), "a && <b> | a & <b>#0007 / Online");
    EXPECT_EQ(choose(""),
              "&Online*|&Idle|&Do Not Disturb|In&visible|Set Playing &Game...|&Accounts");
    struct {
        char const* text;
        char const* sent;
        char const* shown;
    } const rows[] = {
        { "&Idle", "idle ", "Idle" },
        { "In&visible", "invisible ", "Invisible" },
        { "&Online", "online ", "Online" },
        { "&Do Not Disturb", "dnd ", "Do Not Disturb" },
    };
    for (auto const& row : rows) {
        choose(row.text);
        EXPECT_EQ(sent(), row.sent);
        EXPECT_EQ(shown(), std::string("a && <b> | a & <b>#0007 / ") + row.shown);
    }
    world.manager->setPlayingGameName(world.me, QStringLiteral("chess"));
    EXPECT_EQ(sent(), "dnd chess");
    EXPECT_EQ(shown(), "a && <b> | a & <b>#0007 / Do Not Disturb, playing chess");

    // Another device, whose choice is taken back by choosing what is chosen here already.
    world.sql(QStringLiteral("update user set status = 4 where id = %1").arg(world.me.value()));
    world.tell(DisChange::ChangeType::UserStatusChanged, world.me);
    EXPECT_EQ(shown(), "a && <b> | a & <b>#0007 / Online, playing chess");
    choose("&Do Not Disturb");
    EXPECT_EQ(sent(), "dnd chess");
    EXPECT_EQ(shown(), "a && <b> | a & <b>#0007 / Do Not Disturb, playing chess");
}

TEST_F(OwnUserStatus, OutlastsInterruptions)
{
    DisStoredAccount* const account = world.manager->accounts().first();
    choose("&Do Not Disturb");
    EXPECT_EQ(sent(), "dnd ");
    world.service.requestReconnect();
    ASSERT_TRUE(waitUntil([&] { return shown().find("(offline)") != std::string::npos; }));
    ASSERT_TRUE(world.service.expectFrame(6));
    EXPECT_EQ(sent(), "dnd ");
    ASSERT_TRUE(waitUntil([&] { return shown().find("(offline)") == std::string::npos; }));

    world.manager->disconnectAccount(account);
    QString const offline = account->userName + QLatin1String(" (offline) | ") + account->userName
        + QLatin1String(" / Offline");
    ASSERT_TRUE(waitUntil([&] { return !world.manager->activeUserId().isValid(); }));
    EXPECT_EQ(shown(), offline.toStdString());
    EXPECT_EQ(choose(""),
              "(&Online)|(&Idle)|(&Do Not Disturb*)|(In&visible)|(Set Playing &Game...)|&Accounts");
    account->authTokenState = DisStoredAccount::AuthTokenState::Rejected;
    emit account->authTokenStateChanged();
    EXPECT_EQ(shown(),
              account->userName.toStdString() + " (token was rejected) | "
                  + account->userName.toStdString()
                  + " / Its token was rejected. Change it in Accounts.");
    world.manager->connectWithAccount(account);
    EXPECT_EQ(sent(), "dnd ");

    QSignalSpy accounts(m_button.get(), &NakOwnUserStatusButton::accountsWanted);
    world.manager->removeAccount(account);
    EXPECT_EQ(shown(), "No account | No Discord account");
    choose("&Accounts");
    EXPECT_EQ(accounts.count(), 1);
}

} // namespace

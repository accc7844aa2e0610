// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// The windows of the administration, in front of the stage: what they show, what they ask for, and
// what they say when the service refuses.
#include "dis_admin_words.h"
#include "dis_cache.h"
#include "dis_guild_settings_window.h"
#include "dis_invite_dialog.h"
#include "dis_manager.h"
#include "dis_request.h"
#include "dis_servers_window.h"
#include "dis_status_line.h"
#include "model_fixture.h"
#include "stage.h"
#include "widget_acts.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QLineEdit>
#include <QListView>
#include <QPointer>
#include <QPushButton>
#include <QTabWidget>
#include <QTest>
#include <QTreeView>

#include <gtest/gtest.h>

namespace {

stage::StageOptions twoGuilds()
{
    stage::StageOptions options;
    options.world.guilds = 2;
    return options;
}

class Admin : public testing::Test {
protected:
    Admin()
        : model(service.apiUrl())
    {
        manager =
            std::make_unique<DisManager>(model.dir.filePath(QStringLiteral("a.bin")), nullptr);
        g_disManager = manager.get();
        manager->setForegroundChannelsProvider([] { return DisForegroundChannels(); });
        manager->connectWithAccount(manager->createAccountWithToken(QStringLiteral("token")));
        EXPECT_TRUE(waitUntil([this] { return manager->activeUserId().isValid(); }));
        me = manager->activeUserId();
        window.show();
    }
    ~Admin() override
    {
        qDeleteAll(window.findChildren<QDialog*>());
        manager.reset();
        g_disManager = nullptr;
    }

    template <typename Widget> Widget* find()
    {
        for (Widget* one : window.findChildren<Widget*>()) {
            if (one->isVisible())
                return one;
        }
        return nullptr;
    }
    // What the list in view shows, row by row.
    std::string rows()
    {
        QStringList lines;
        auto* const view = find<QAbstractItemView>();
        auto const index = [view](int row, int column) {
            return view->model()->index(row, column);
        };
        for (int row = 0; row < view->model()->rowCount(); ++row) {
            QStringList cells;
            for (int column = 0; column < view->model()->columnCount(); ++column)
                cells << index(row, column).data().toString();
            if (view->visualRect(index(row, 0)).isValid())
                lines << cells.join(u',');
        }
        return lines.join(u'|').toStdString();
    }
    bool waitForRows(std::string const& wanted)
    {
        return waitUntil([&] { return rows() == wanted; });
    }
    bool waitForStatus(char const* wanted)
    {
        return waitUntil([&] { return find<DisStatusLine>()->text() == QLatin1String(wanted); });
    }
    void press(char const* text) { EXPECT_TRUE(clickButton(&window, text)) << text; }
    // In the list in view; shortcuts are for the window that has the focus.
    void pressInList(char const* keys)
    {
        QApplication::setActiveWindow(find<QDialog>());
        find<QAbstractItemView>()->setFocus();
        pressKeys(find<QAbstractItemView>(), keys);
    }
    stage::Guild& guild(size_t n) { return service.world().guilds[n]; }
    QString guildPath(size_t n, char const* rest)
    {
        return QStringLiteral("/guilds/%1").arg(guild(n).id) + QLatin1String(rest);
    }

    stage::Stage service{ twoGuilds() };
    ModelWorld model;
    std::unique_ptr<DisManager> manager;
    QWidget window;
    FlakeId me;
};

} // namespace

TEST_F(Admin, KnowsWhatAnInviteIs)
{
    char const* const cases[][2] = {
        { "abc-D3", "abc-D3" },
        { " https://discord.gg/abc ", "abc" },
        { "discord.com/invite/abc?event=1", "abc" },
        { "http://www.discordapp.com/invite/abc/", "abc" },
        { "https://discord.gg/", "" },
        { "https://elsewhere.example/abc", "" },
        { "../../users", "" },
        { "a", "" },
        { "", "" },
    };
    for (auto const& [input, code] : cases)
        EXPECT_EQ(DisAdminWords::inviteCodeOf(QLatin1String(input)).toStdString(), code) << input;
}

TEST_F(Admin, ServersAreOrderedLeftAndJoined)
{
    DisServersWindow::summon(&window);
    ASSERT_EQ(rows(), "Harbor Lights|The Reading Room");
    pressInList("Alt+Down");
    EXPECT_TRUE(waitForStatus("The order is saved."));
    EXPECT_EQ(rows(), "The Reading Room|Harbor Lights");
    EXPECT_EQ(service.world().guildPositions, (std::vector<quint64>{ guild(1).id, guild(0).id }));

    service.answer("PATCH", QStringLiteral("/users/@me/settings"), 400, R"({"message":"Not now"})");
    pressInList("Alt+Up");
    EXPECT_EQ(rows(), "Harbor Lights|The Reading Room");
    EXPECT_TRUE(waitForStatus("Discord refused: Not now"));
    EXPECT_EQ(rows(), "The Reading Room|Harbor Lights") << "as the service has it";

    QTest::keyClicks(find<QLineEdit>(), QStringLiteral("HARB"));
    EXPECT_EQ(rows(), "Harbor Lights");
    find<QListView>()->setCurrentIndex(find<QListView>()->model()->index(1, 0));
    pressInList("Alt+Up"); // nobody sees between what
    find<QLineEdit>()->clear();
    EXPECT_EQ(rows(), "The Reading Room|Harbor Lights");

    pressInList("Del");
    press("Leave");
    EXPECT_TRUE(waitForRows("The Reading Room"));
    EXPECT_TRUE(waitUntil([] { return !QApplication::activeModalWidget(); }));
    pressInList("Del"); // one's own cannot be left
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);

    auto* const invite = window.findChildren<QLineEdit*>().last();
    QTest::keyClicks(invite, QStringLiteral("https://discord.gg/abc"));
    pressKeys(invite, "Return");
    EXPECT_TRUE(waitUntil([&] { return QApplication::activeModalWidget() != nullptr; }));
    press("Join");
    EXPECT_TRUE(waitForRows("The Reading Room|Harbor Lights"));
    EXPECT_TRUE(waitForStatus("You are in Harbor Lights now."));
}

TEST_F(Admin, SettingsOfOnesOwnGuild)
{
    auto& channels = guild(1).channels;
    guild(1).invites.push_back({ QStringLiteral("abc"), service.world().channels[channels[2]].id });
    auto const name = [this](size_t ban) {
        stage::User const& user = service.world().users[guild(1).bans[ban].user];
        return (user.name + u'#' + user.discriminator).toStdString();
    };
    std::string const bans = name(0) + ",Spam|" + name(1) + ",|" + name(2)
        + ",Kept posting the same link|" + name(3) + ",Was rude to newcomers";
    std::string const fewer = bans.substr(bans.find('|') + 1);
    DisGuildSettingsWindow::summon(me, FlakeId(guild(1).id), &window);
    auto* const pages = find<QTabWidget>();
    find<QCheckBox>()->click();
    EXPECT_TRUE(waitForStatus("Saved."));
    EXPECT_TRUE(guild(1).settings.muted && find<QCheckBox>()->isChecked());
    service.answer("PATCH", QStringLiteral("/users/@me") + guildPath(1, "/settings"), 500, "");
    find<QCheckBox>()->click();
    EXPECT_TRUE(waitForStatus("Discord did not answer the request."));
    EXPECT_TRUE(find<QCheckBox>()->isChecked()) << "as it still is";

    pages->setCurrentIndex(1);
    stage::User const& own = service.world().users[0];
    EXPECT_TRUE(waitForRows(QStringLiteral("abc,#general,%1#%2,0,Never ends")
                                .arg(own.name, own.discriminator)
                                .toStdString()))
        << rows();
    press("Revoke\u2026");
    press("Revoke");
    EXPECT_TRUE(waitForRows(""));
    EXPECT_TRUE(guild(1).invites.empty());

    service.answer("GET", guildPath(1, "/bans"), 403, R"({"message":"Missing Permissions"})", {},
                   1);
    pages->setCurrentIndex(2);
    EXPECT_TRUE(
        waitUntil([&] { return service.requests("GET", guildPath(1, "/bans")).size() == 1; }));
    EXPECT_TRUE(waitUntil([&] { // until the refusal is there, F5 does nothing
        pressInList("F5");
        return service.requests("GET", guildPath(1, "/bans")).size() == 2;
    }));
    EXPECT_TRUE(waitForRows(bans)) << rows();
    pressInList("Del");
    press("Unban");
    EXPECT_TRUE(waitForRows(fewer)) << rows();
    EXPECT_EQ(guild(1).bans.size(), 3U);

    pages->setCurrentIndex(3);
    auto const count = [this] { return find<QTreeView>()->model()->rowCount(); };
    EXPECT_TRUE(waitUntil([&] { return count() == 50; }));
    for (int const more : { 100, 130 }) {
        press("Show Older");
        EXPECT_TRUE(waitUntil([&] { return count() == more; })) << count();
    }
}

TEST_F(Admin, OthersGuildsHaveNoSecrets)
{
    DisGuildSettingsWindow::summon(me, FlakeId(guild(0).id), &window);
    EXPECT_EQ(find<QTabWidget>()->count(), 1) << "no right to the lists";
    QPointer<QDialog> const settings = find<QDialog>();
    ASSERT_TRUE(settings);
    model.client->removeMemberFromGuild(me, FlakeId(guild(0).id), me);
    EXPECT_TRUE(waitUntil([&] { return !settings; })) << "it goes with the guild";
}

TEST_F(Admin, InvitesAreMadeAndCopied)
{
    auto* const dialog = new DisInviteDialog(me, FlakeId(service.busyChannelId()), &window);
    dialog->show();
    QString const path = QStringLiteral("/channels/%1/invites").arg(service.busyChannelId());
    service.answer("POST", path, 403, R"({"message":"<b>Missing</b> Permissions"})", {}, 1);
    press("Create Link");
    EXPECT_TRUE(waitForStatus("Discord refused: <b>Missing</b> Permissions"));
    press("Create Link");
    EXPECT_TRUE(waitUntil([&] { return guild(0).invites.size() == 1; }));
    EXPECT_TRUE(waitUntil(
        [&] { return find<QLineEdit>()->selectedText() == u'/' + guild(0).invites.front().code; }));
    press("Copy");
    EXPECT_EQ(QApplication::clipboard()->text(), find<QLineEdit>()->text());
}

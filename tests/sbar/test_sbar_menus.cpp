// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// The menus of the rows: what they offer, and what comes of it.
#include "sbar_active.h"
#include "sbar_kinds.h"
#include "sbar_menus.h"
#include "sbar_tree.h"
#include "sbar_world.h"
#include "widget_acts.h"

#include <QAbstractButton>
#include <QApplication>
#include <QInputDialog>
#include <QMenu>
#include <QMessageBox>
#include <QTest>

#include <gtest/gtest.h>

namespace {

using namespace NakSbar;

class SbarMenus : public testing::Test {
protected:
    SbarMenus()
    {
        world.addGuild(100, QStringLiteral("a & b"));
        world.addChannel(101, 100, -1, 0);
        world.sql(QStringLiteral(
                      "insert into guild_voice_channel values (102, 100, -1, 0, 0, 0, 0, 'talk'); "
                      "insert into any_channel values (102, 2), (103, 4), (104, 5); "
                      "insert into private_channel (id) values (103), (104); "
                      "insert into private_channel_participant values (103, %1), (104, %1)")
                      .arg(world.me.value()));
        world.reload();
        folder = world.saved->playlists().first().id;
        world.saved->setPlaylistEntries(folder, { place(101), place(103), place(104) });
        waitUntil([this] { return world.itemOf(Kind::PlaylistEntry, 2) != noItem; });
    }

    static NakNavLoc place(quint64 id) { return NakNavLoc::discordChannel(FlakeId(id)); }

    std::string menuOf(Item item)
    {
        QMenu menu(&*world.view);
        if (auto const fill = traitsOf(infoOf(world.priv(), item)).fillMenu)
            fill(world.priv(), item, &menu);
        return textsOf(menu.actions());
    }
    // By keys alone: the menu at the caret's row, down to the entry, Return.
    void choose(Item item, char const* text)
    {
        setCaret(world.priv(), item);
        pressKeys(&*world.view, "Shift+F10");
        auto* const menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        ASSERT_NE(menu, nullptr) << text;
        for (int left = menu->actions().size();
             left > 0 && menu->activeAction()->text() != QLatin1String(text); --left)
            pressKeys(menu, "Down");
        ASSERT_EQ(menu->activeAction()->text().toStdString(), text);
        pressKeys(menu, "Return");
    }
    Item entry(int index)
    {
        auto const& infos = world.priv().infos;
        for (Item item = 0; item < infos.size(); ++item) {
            if (infos[item].kind == Kind::PlaylistEntry && infos[item].entryIndex() == index)
                return item;
        }
        return noItem;
    }
    std::string entries()
    {
        QStringList list;
        for (NakNavLoc const& one : world.saved->playlistEntries(folder))
            list << one.discordChannelId().toString();
        return list.join(QLatin1Char(' ')).toStdString();
    }

    SbarWorld world;
    int folder = 0;
};

} // namespace

TEST_F(SbarMenus, OfferWhatCanBeDone)
{
    struct {
        Item item;
        char const* menu;
    } const cases[] = {
        { world.itemOf(Kind::Guild, 100),
          "Mark a && b as Read|-|a && b Settings...|Manage Discord Servers...|Leave a && b|-|"
          "Expand Categories in a && b|Collapse Categories in a && b" },
        { world.itemOf(Kind::TextChannel, 101),
          "Open in New Tab|Add Bookmark|Add to New Bookmark Folder...|-|Mute|"
          "(Invite to #c101...)" },
        { world.itemOf(Kind::VoiceChannel, 102), "(Join Voice: talk)" },
        { world.itemOf(Kind::PrivChannel, 103),
          "Open in New Tab|Add Bookmark|Add to New Bookmark Folder...|-|"
          "(Mute)|(Voice Call)|-|Close Direct Message" },
        { world.itemOf(Kind::PrivChannel, 104),
          "Open in New Tab|Add Bookmark|Add to New Bookmark Folder...|-|"
          "(Mute)|(Voice Call)|-|Leave Group Chat" },
        { world.itemOf(Kind::Playlist, quint64(folder)),
          "Rename Favorites...|Delete Favorites|-|Manage Bookmarks..." },
        { world.priv().bookmarks,
          "Create New Folder...|-|Expand All in Bookmarks|Collapse All in Bookmarks|-|"
          "Manage Bookmarks..." },
        { world.priv().discord,
          "Manage Discord Servers...|-|Expand All in Discord|Collapse All in Discord" },
        { entry(0),
          "Open in New Tab|-|Remove from Favorites|(Move Up)|Move Down|-|Manage Bookmarks..." },
        { entry(2),
          "Open in New Tab|-|Remove from Favorites|Move Up|(Move Down)|-|Manage Bookmarks..." },
    };
    for (auto const& c : cases)
        EXPECT_EQ(menuOf(c.item), c.menu);
}

TEST_F(SbarMenus, ChangeBookmarks)
{
    choose(entry(0), "Move Down");
    EXPECT_EQ(entries(), "103 101 104");
    choose(entry(2), "Move Up");
    EXPECT_EQ(entries(), "103 104 101");
    choose(entry(1), "Remove from Favorites");
    EXPECT_EQ(entries(), "103 101");
    choose(world.itemOf(Kind::TextChannel, 101), "Add Bookmark"); // there already
    choose(world.itemOf(Kind::PrivChannel, 104), "Add Bookmark");
    EXPECT_EQ(entries(), "103 101 104");
    choose(world.itemOf(Kind::Playlist, quint64(folder)), "Rename Favorites...");
    auto* const dialog = world.view->findChild<QInputDialog*>();
    ASSERT_NE(dialog, nullptr);
    dialog->setTextValue(QStringLiteral("  mine "));
    dialog->accept();
    EXPECT_EQ(world.saved->playlistName(folder), QStringLiteral("mine"));
}

TEST_F(SbarMenus, TellTheServiceWhatWasChosen)
{
    world.sql(QStringLiteral("update role set permissions = 1025")); // may invite
    world.reload();
    struct {
        Kind kind;
        quint64 id;
        char const* entry;
        char const* request; // "{me}" stands for the own user
        char const* button = nullptr; // of the box or dialog that comes first
    } const cases[] = {
        { Kind::Guild, 100, "Mark a && b as Read", "POST /guilds/100/ack" },
        { Kind::Guild, 100, "Leave a && b", "DELETE /guilds/100/members/{me}", "Leave" },
        { Kind::TextChannel, 101, "Mute",
          R"(PATCH /users/@me/guilds/100/settings {"channel_overrides":{"101":{"muted":true}}})" },
        { Kind::TextChannel, 101, "Invite to #c101...",
          R"(POST /channels/101/invites {"max_age":"86400","validate":null})", "Create Link" },
        { Kind::PrivChannel, 103, "Close Direct Message", "DELETE /channels/103" },
        { Kind::PrivChannel, 104, "Leave Group Chat", "DELETE /channels/104" },
    };
    for (auto const& one : cases) {
        SCOPED_TRACE(one.entry);
        int const before = world.service.requests().size();
        choose(world.itemOf(one.kind, one.id), one.entry);
        if (one.button) {
            EXPECT_EQ(world.service.requests().size(), before);
            EXPECT_TRUE(clickButton(&*world.view, one.button));
        }
        ASSERT_TRUE(waitUntil([&] { return world.service.requests().size() > before; }));
        stage::StageRequest const last = world.service.requests().last();
        EXPECT_EQ(
            (last.method + ' ' + last.path.toUtf8() + ' ' + last.body).trimmed().toStdString(),
            QString::fromUtf8(one.request)
                .replace(QLatin1String("{me}"), world.me.toString())
                .toStdString());
    }
    world.sql(QStringLiteral("update guild set owner_id = %1").arg(world.me.value()));
    world.reload();
    EXPECT_NE(menuOf(world.itemOf(Kind::Guild, 100)).find("|(Leave a && b)|"), std::string::npos);
}

TEST_F(SbarMenus, AskBeforeLeavingAndSayWhyItFailed)
{
    auto const shown = [this] {
        std::string boxes;
        for (QMessageBox const* box : world.view->findChildren<QMessageBox*>()) {
            if (box->isVisible())
                boxes += (box->windowTitle() + u'|' + box->text()).toStdString();
        }
        return boxes;
    };
    choose(world.itemOf(Kind::Guild, 100), "Leave a && b");
    EXPECT_EQ(shown(), "Leave Server|Are you sure you want to leave a & b?");
    EXPECT_TRUE(clickButton(&*world.view, "Leave"));
    EXPECT_TRUE(waitUntil([&] { return !shown().empty(); }));
    // The stage knows no such guild.
    EXPECT_EQ(shown(), "Leave Server|Discord refused: Unknown Guild");
}

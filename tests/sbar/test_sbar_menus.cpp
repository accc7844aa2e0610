// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// The menus of the rows: what they offer, and what comes of it.
#include "sbar_kinds.h"
#include "sbar_menus.h"
#include "sbar_tree.h"
#include "sbar_world.h"

#include <QAbstractButton>
#include <QInputDialog>
#include <QMenu>
#include <QMessageBox>

#include <gtest/gtest.h>

namespace {

using namespace NakSbar;

std::string texts(QMenu const& menu)
{
    QStringList list;
    for (QAction const* action : menu.actions())
        list << (action->isSeparator() ? QStringLiteral("-")
                                       : (action->isEnabled() ? action->text()
                                                              : QLatin1Char('(') + action->text()
                                                  + QLatin1Char(')')));
    return list.join(QLatin1Char('|')).toStdString();
}

class SbarMenus : public testing::Test {
protected:
    SbarMenus()
    {
        world.addGuild(100, QStringLiteral("a & b"));
        world.addChannel(101, 100, -1, 0);
        world.sql(QStringLiteral(
                      "insert into guild_voice_channel values (102, 100, -1, 0, 0, 0, 0, 'talk'); "
                      "insert into any_channel values (102, 2); "
                      "insert into any_channel values (103, 4); "
                      "insert into private_channel (id) values (103); "
                      "insert into private_channel_participant values (103, %1); "
                      "insert into any_channel values (104, 5); "
                      "insert into private_channel (id) values (104); "
                      "insert into private_channel_participant values (104, %1)")
                      .arg(world.me.value()));
        world.reload();
        folder = world.saved->playlists().first().id;
        world.saved->setPlaylistEntries(folder, { place(101), place(103), place(104) });
        waitUntil([this] { return world.itemOf(Kind::PlaylistEntry, 2) != noItem; });
    }

    static NakNavLoc place(quint64 id) { return NakNavLoc::discordChannel(FlakeId(id)); }

    std::string menuOf(Kind kind, quint64 id) { return menuOf(world.itemOf(kind, id)); }
    std::string menuOf(Item item)
    {
        QMenu menu(&*world.view);
        fill(item, &menu);
        return texts(menu);
    }
    void fill(Item item, QMenu* menu)
    {
        if (auto const fillMenu = traitsOf(infoOf(world.priv(), item)).fillMenu)
            fillMenu(world.priv(), item, menu);
    }
    void choose(Item item, char const* text)
    {
        QMenu menu(&*world.view);
        fill(item, &menu);
        for (QAction* action : menu.actions()) {
            if (action->text() == QLatin1String(text))
                action->trigger();
        }
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
    QString entries()
    {
        QStringList list;
        for (NakNavLoc const& one : world.saved->playlistEntries(folder))
            list << one.discordChannelId().toString();
        return list.join(QLatin1Char(' '));
    }

    SbarWorld world;
    int folder = 0;
};

} // namespace

TEST_F(SbarMenus, OfferWhatCanBeDone)
{
    EXPECT_EQ(menuOf(Kind::Guild, 100),
              "Mark a && b as Read|-|Expand Categories in a && b|Collapse Categories in a && "
              "b|-|Leave a && b");
    EXPECT_EQ(menuOf(Kind::TextChannel, 101),
              "Open in New Tab|Add Bookmark|Add to New Bookmark Folder...|-|Mute");
    EXPECT_EQ(menuOf(Kind::VoiceChannel, 102), "(Join Voice: talk)");
    EXPECT_EQ(menuOf(Kind::PrivChannel, 103),
              "Open in New Tab|Add Bookmark|Add to New Bookmark Folder...|-|Close Direct Message");
    EXPECT_EQ(menuOf(Kind::PrivChannel, 104),
              "Open in New Tab|Add Bookmark|Add to New Bookmark Folder...|-|Leave Group Chat");
    EXPECT_EQ(menuOf(Kind::Playlist, quint64(folder)),
              "Rename Favorites...|Delete Favorites|-|Manage Bookmarks...");
    EXPECT_EQ(menuOf(world.priv().bookmarks),
              "Create New Folder...|-|Expand All in Bookmarks|Collapse All in Bookmarks|-|Manage "
              "Bookmarks...");
    EXPECT_EQ(menuOf(world.priv().discord), "Expand All in Discord|Collapse All in Discord");
    EXPECT_EQ(menuOf(entry(0)),
              "Open in New Tab|-|Remove from Favorites|(Move Up)|Move Down|-|Manage Bookmarks...");
    EXPECT_EQ(menuOf(entry(2)),
              "Open in New Tab|-|Remove from Favorites|Move Up|(Move Down)|-|Manage Bookmarks...");
}

TEST_F(SbarMenus, ChangeBookmarks)
{
    choose(entry(0), "Move Down");
    EXPECT_EQ(entries().toStdString(), "103 101 104");
    choose(entry(2), "Move Up");
    EXPECT_EQ(entries().toStdString(), "103 104 101");
    choose(entry(1), "Remove from Favorites");
    EXPECT_EQ(entries().toStdString(), "103 101");
    choose(world.itemOf(Kind::TextChannel, 101), "Add Bookmark"); // there already
    choose(world.itemOf(Kind::PrivChannel, 104), "Add Bookmark");
    EXPECT_EQ(entries().toStdString(), "103 101 104");
    choose(world.itemOf(Kind::Playlist, quint64(folder)), "Rename Favorites...");
    auto* const dialog = world.view->findChild<QInputDialog*>();
    ASSERT_NE(dialog, nullptr);
    dialog->setTextValue(QStringLiteral("  mine "));
    dialog->accept();
    EXPECT_EQ(world.saved->playlistName(folder), QStringLiteral("mine"));
}

TEST_F(SbarMenus, AskBeforeLeaving)
{
    Item const guild = world.itemOf(Kind::Guild, 100);
    auto const requests = [this] {
        int count = 0;
        for (stage::StageRequest const& request : world.service.requests())
            count += request.path.contains(QLatin1String("guilds/100/members/")) ? 1 : 0;
        return count;
    };
    choose(guild, "Leave a && b");
    auto* const box = world.view->findChild<QMessageBox*>();
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(box->text(), QStringLiteral("Are you sure you want to leave a & b?"));
    EXPECT_EQ(requests(), 0);
    for (QAbstractButton* button : box->buttons()) {
        if (button->text() == QLatin1String("Leave"))
            button->click();
    }
    EXPECT_TRUE(waitUntil([&] { return requests() == 1; }));
}

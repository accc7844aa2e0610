// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// The bookmarks editor on a real file: what it shows, what is stored, and that they never differ.
#include "bookmarks_editor.h"
#include "bookmarks_model.h"
#include "nak_go.h"
#include "sbar_world.h"
#include "widget_acts.h"

#include <QApplication>
#include <QInputDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QTreeView>

#include <gtest/gtest.h>

namespace {

class OpenedPlaces : public NakGo::IWindowHost {
public:
    void openNavLoc(NakNavLoc const& place, NakGo::OpenMode mode, QWidget*) override
    {
        text += place.discordChannelId().toString() + QLatin1Char(' ')
            + QString::number(static_cast<int>(mode)) + QLatin1Char(' ');
    }
    void openNavLocAsIfFromNotification(NakNavLoc const&) override { }
    void activateAnyChatWindow() override { }
    QList<QWidget*> chatWindows() const override { return {}; }

    QString text;
};

class BookmarksEditor : public testing::Test {
protected:
    BookmarksEditor()
    {
        NakGo::setWindowHost(&opened);
        world.addGuild(100, QStringLiteral("guild"));
        for (quint64 id = 1; id <= 4; ++id)
            world.addChannel(id, 100, -1, int(id));
        world.reload();
        first = world.saved->playlists().first().id;
        world.saved->setPlaylistEntries(first, { place(1), place(2), place(3) });
        second = world.saved->createPlaylist(QStringLiteral("B"));
        NakNavLoc const thread = NakNavLoc::builtin(NakNav::BuiltinView::Type::Accounts);
        world.saved->setPlaylistEntries(second, { place(4), thread });
        NakBookmarksEditor::summon();
        for (QWidget* const widget : QApplication::topLevelWidgets())
            editor = editor ? editor : qobject_cast<NakBookmarksEditor*>(widget);
        tree = editor->findChild<QTreeView*>();
    }
    ~BookmarksEditor() override
    {
        delete editor;
        NakGo::setWindowHost(nullptr);
    }

    static NakNavLoc place(quint64 id) { return NakNavLoc::discordChannel(FlakeId(id)); }

    // The folders with their entries, the current row with a star, folders that are shut with "+".
    // The file and the side bar have the same.
    std::string shown()
    {
        QCoreApplication::processEvents(); // what is told of the changes
        QHash<FlakeId, QString> names;
        for (auto const& [id, name] : world.rows(QStringLiteral("select id, name from "
                                                                "guild_channel")))
            names[id] = u'#' + name;
        QStringList stored{ QStringLiteral("Notifications"), QStringLiteral("Bookmarks") };
        QStringList inTree = stored;
        NakSavedData const file(nullptr);
        for (NakPlaylist::PlaylistInfo const& playlist : file.playlists()) {
            stored << playlist.name;
            for (NakNavLoc const& entry : file.playlistEntries(playlist.id))
                stored << (entry.type() == NakNav::Type::Discord
                               ? names[entry.discordChannelId()]
                               : QStringLiteral("[Unknown service]"));
        }
        QStringList folders;
        auto const text = [&](QModelIndex const& index) {
            inTree << index.data().toString();
            bool const isCurrent = tree->currentIndex().siblingAtColumn(0) == index;
            return isCurrent ? u'*' + inTree.last() : inTree.last();
        };
        for (int row = 0; row < tree->model()->rowCount(); ++row) {
            QModelIndex const folder = tree->model()->index(row, 0);
            folders << text(folder) + QLatin1String(tree->isExpanded(folder) ? ":" : "+:");
            for (int entry = 0; entry < tree->model()->rowCount(folder); ++entry)
                folders.last() += u' ' + text(tree->model()->index(entry, 0, folder));
        }
        std::string const wanted = stored.join(u'|').toStdString();
        EXPECT_EQ(inTree.join(u'|').toStdString(), wanted);
        EXPECT_EQ(shownRows(*world.view).mid(0, stored.size()).join(u'|').toStdString(), wanted);
        return folders.join(QLatin1String(" | "))
            .replace(QLatin1String("[Unknown service]"), QLatin1String("?"))
            .toStdString();
    }
    // The field in which the current folder's name is typed.
    QLineEdit* rename(char const* name)
    {
        press("F2");
        auto* const field = tree->findChild<QLineEdit*>();
        field->setText(QLatin1String(name));
        return field;
    }
    void press(char const* keys)
    {
        QApplication::setActiveWindow(editor);
        tree->setFocus();
        pressKeys(tree, keys);
    }

    SbarWorld world;
    OpenedPlaces opened;
    NakBookmarksEditor* editor = nullptr;
    QTreeView* tree = nullptr;
    int first = 0;
    int second = 0;
};

TEST_F(BookmarksEditor, KeysPutInOrder)
{
    struct {
        char const* keys;
        char const* shown;
    } const steps[] = {
        { "Alt+Up", "*Favorites: #c1 #c2 #c3 | B: #c4 ?" }, // there is no way up
        { "Alt+Down", "B: #c4 ? | *Favorites: #c1 #c2 #c3" },
        { "Down, Alt+Up", "B: #c4 ? *#c1 | Favorites: #c2 #c3" },
        { "Alt+Up", "B: #c4 *#c1 ? | Favorites: #c2 #c3" },
        { "Alt+Down, Alt+Down", "B: #c4 ? | Favorites: *#c1 #c2 #c3" },
        { "Alt+Down, Alt+Down, Alt+Down", "B: #c4 ? | Favorites: #c2 #c3 *#c1" },
        { "Return, Ctrl+Return", "B: #c4 ? | Favorites: #c2 #c3 *#c1" },
        { "Del", "B: #c4 ? | Favorites: #c2 *#c3" },
        { "Home, Return", "*B+: #c4 ? | Favorites: #c2 #c3" },
    };
    for (auto const& step : steps) {
        press(step.keys);
        EXPECT_EQ(shown(), step.shown) << step.keys;
    }
    EXPECT_EQ(opened.text, QStringLiteral("1 0 1 1 "));
}

TEST_F(BookmarksEditor, FoldersAreMadeRenamedAndDeleted)
{
    press("Ctrl+N");
    auto* const dialog = editor->findChild<QInputDialog*>();
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->windowTitle() + dialog->textValue(),
              QStringLiteral("New FolderUnnamed Folder"));
    dialog->accept();
    EXPECT_EQ(shown(), "Favorites: #c1 #c2 #c3 | B: #c4 ? | *Unnamed Folder:");
    for (auto const* const name : { "  <b> & ", "   " }) { // the second is none
        QTest::keyClick(rename(name), Qt::Key_Return);
        EXPECT_EQ(shown(), "Favorites: #c1 #c2 #c3 | B: #c4 ? | *<b> &:");
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    press("Del"); // nothing is lost with it
    EXPECT_EQ(shown(), "Favorites: #c1 #c2 #c3 | *B: #c4 ?");
    press("Home, Del");
    EXPECT_EQ(shown(), "*Favorites: #c1 #c2 #c3 | B: #c4 ?");
    ASSERT_NE(editor->findChild<QMessageBox*>(), nullptr);
    EXPECT_TRUE(clickButton(editor->findChild<QMessageBox*>(), "Delete"));
    EXPECT_EQ(shown(), "*B: #c4 ?");
}

TEST_F(BookmarksEditor, WhatIsDraggedLandsThere)
{
    constexpr int none = -1;
    struct {
        int folder, entry; // what is dragged, by row
        int parent, row; // where, as the view says it: none on a row, and below all of them
        char const* shown;
    } const drags[] = {
        { 0, 0, 0, 2, "Favorites: #c2 *#c1 #c3 | B: #c4 ?" },
        { 0, 2, 0, 0, "Favorites: *#c3 #c2 #c1 | B: #c4 ?" },
        { 0, 0, 1, 1, "Favorites: #c2 #c1 | B: #c4 *#c3 ?" },
        { 1, 0, 0, none, "Favorites: #c2 #c1 *#c4 | B: #c3 ?" },
        { 0, 1, none, none, "Favorites: #c2 #c4 | B: #c3 ? *#c1" },
        { 1, 0, none, 1, "Favorites: #c2 #c4 *#c3 | B: ? #c1" },
        { 1, none, none, 0, "*B: ? #c1 | Favorites: #c2 #c4 #c3" },
        { 0, none, 1, none, "Favorites: #c2 #c4 #c3 | *B: ? #c1" },
        { 0, none, none, none, "B: ? #c1 | *Favorites: #c2 #c4 #c3" },
    };
    auto* const model = tree->model();
    for (auto const& drag : drags) {
        QModelIndex const folder = model->index(drag.folder, 0);
        std::unique_ptr<QMimeData> const data(
            model->mimeData({ drag.entry == none ? folder : model->index(drag.entry, 0, folder) }));
        model->dropMimeData(data.get(), Qt::MoveAction, drag.row, drag.row == none ? none : 0,
                            drag.parent == none ? QModelIndex() : model->index(drag.parent, 0));
        EXPECT_EQ(shown(), drag.shown);
    }
    QMimeData foreign;
    foreign.setData(model->mimeTypes().first(), QByteArray(8, '\x7f'));
    EXPECT_FALSE(model->dropMimeData(&foreign, Qt::MoveAction, 0, 0, {}));
}

TEST_F(BookmarksEditor, ChangesFromElsewhereKeepTheCurrentRow)
{
    press("Down, Down, Down");
    tree->setExpanded(tree->model()->index(1, 0), false);
    world.saved->setPlaylistEntries(first, { place(4), place(3), place(1), place(4) });
    world.saved->movePlaylistById(first, 1);
    world.saved->setPlaylistName(second, QStringLiteral("b"));
    EXPECT_EQ(shown(), "b+: #c4 ? | Favorites: #c4 *#c3 #c1 #c4");
    world.sql(QStringLiteral("update guild_channel set name = 'new' where id = 3"));
    world.tell(DisChange::ChangeType::ChannelChanged, FlakeId(3));
    EXPECT_EQ(shown(), "b+: #c4 ? | Favorites: #c4 *#new #c1 #c4");
    press("Home");
    QLineEdit* const field = rename("half");
    world.saved->setPlaylistEntries(second, { place(1) });
    QCoreApplication::processEvents();
    EXPECT_EQ(field->text(), QStringLiteral("half"));
    world.saved->deletePlaylist(first);
    world.saved->deletePlaylist(second); // while its name is typed
    QCoreApplication::processEvents();
    EXPECT_EQ(tree->model()->rowCount(), 0);
}

} // namespace

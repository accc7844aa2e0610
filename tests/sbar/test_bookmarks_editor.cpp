// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// The bookmarks editor on a real file: what it shows, what is stored, and that they never differ.
#include "bookmarks_editor.h"
#include "bookmarks_model.h"
#include "nak_go.h"
#include "sbar_world.h"

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
    std::string shown()
    {
        QStringList folders;
        for (int row = 0; row < tree->model()->rowCount(); ++row)
            folders << folderText(tree->model()->index(row, 0));
        return folders.join(QLatin1String(" | ")).toStdString();
    }
    QString folderText(QModelIndex const& folder)
    {
        QStringList names{ rowText(folder) + QLatin1String(tree->isExpanded(folder) ? ":" : "+:") };
        for (int row = 0; row < tree->model()->rowCount(folder); ++row)
            names << rowText(tree->model()->index(row, 0, folder));
        return names.join(u' ');
    }
    QString rowText(QModelIndex const& index)
    {
        QString const text = index.data().toString();
        return tree->currentIndex().siblingAtColumn(0) == index ? u'*' + text : text;
    }
    // What the file holds, by number, and the same of the side bar's rows by name.
    std::string stored()
    {
        QCoreApplication::processEvents(); // what is told of the changes
        NakSavedData const file(nullptr);
        QStringList folders;
        QStringList rows{ QStringLiteral("Notifications"), QStringLiteral("Bookmarks") };
        for (NakPlaylist::PlaylistInfo const& playlist : file.playlists()) {
            QStringList ids{ playlist.name + u':' };
            rows << playlist.name;
            for (NakNavLoc const& entry : file.playlistEntries(playlist.id)) {
                bool const isChannel = entry.type() == NakNav::Type::Discord;
                ids << (isChannel ? entry.discordChannelId().toString() : QStringLiteral("?"));
                rows << (isChannel ? QLatin1String("#c") + ids.last()
                                   : QStringLiteral("[Unknown service]"));
            }
            folders << ids.join(u' ');
        }
        EXPECT_EQ(shownRows(*world.view).mid(0, rows.size()), rows);
        return folders.join(QLatin1String(" | ")).toStdString();
    }
    void press(QKeySequence const& keys)
    {
        QApplication::setActiveWindow(editor);
        tree->setFocus();
        for (int i = 0; i < keys.count(); ++i)
            QTest::keyClick(tree, Qt::Key(keys[i] & ~Qt::KeyboardModifierMask),
                            Qt::KeyboardModifiers(keys[i] & int(Qt::KeyboardModifierMask)));
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
    ASSERT_EQ(shown(), "*Favorites: #c1 #c2 #c3 | B: #c4 [Unknown service]");
    struct {
        char const* keys;
        char const* shown;
        char const* stored;
    } const steps[] = {
        { "Alt+Up", "*Favorites: #c1 #c2 #c3 | B: #c4 [Unknown service]", // there is no way up
          "Favorites: 1 2 3 | B: 4 ?" },
        { "Alt+Down", "B: #c4 [Unknown service] | *Favorites: #c1 #c2 #c3",
          "B: 4 ? | Favorites: 1 2 3" },
        { "Down, Alt+Up", "B: #c4 [Unknown service] *#c1 | Favorites: #c2 #c3",
          "B: 4 ? 1 | Favorites: 2 3" },
        { "Alt+Up", "B: #c4 *#c1 [Unknown service] | Favorites: #c2 #c3",
          "B: 4 1 ? | Favorites: 2 3" },
        { "Alt+Down, Alt+Down", "B: #c4 [Unknown service] | Favorites: *#c1 #c2 #c3",
          "B: 4 ? | Favorites: 1 2 3" },
        { "Alt+Down, Alt+Down, Alt+Down", "B: #c4 [Unknown service] | Favorites: #c2 #c3 *#c1",
          "B: 4 ? | Favorites: 2 3 1" },
        { "Return, Ctrl+Return", "B: #c4 [Unknown service] | Favorites: #c2 #c3 *#c1",
          "B: 4 ? | Favorites: 2 3 1" },
        { "Del", "B: #c4 [Unknown service] | Favorites: #c2 *#c3", "B: 4 ? | Favorites: 2 3" },
        { "Home, Return", "*B+: #c4 [Unknown service] | Favorites: #c2 #c3",
          "B: 4 ? | Favorites: 2 3" },
    };
    for (auto const& step : steps) {
        press(QKeySequence(QLatin1String(step.keys)));
        EXPECT_EQ(shown(), step.shown) << step.keys;
        EXPECT_EQ(stored(), step.stored) << step.keys;
    }
    EXPECT_EQ(opened.text, QStringLiteral("1 0 1 1 "));
}

TEST_F(BookmarksEditor, FoldersAreMadeRenamedAndDeleted)
{
    press(Qt::CTRL + Qt::Key_N);
    auto* const dialog = editor->findChild<QInputDialog*>();
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->windowTitle() + dialog->textValue(),
              QStringLiteral("New FolderUnnamed Folder"));
    dialog->accept();
    EXPECT_EQ(stored(), "Favorites: 1 2 3 | B: 4 ? | Unnamed Folder:");
    for (auto const* const name : { "  <b> & ", "   " }) { // the second is none
        press(Qt::Key_F2);
        auto* const field = tree->findChild<QLineEdit*>();
        ASSERT_NE(field, nullptr);
        field->setText(QLatin1String(name));
        QTest::keyClick(field, Qt::Key_Return);
        EXPECT_EQ(stored(), "Favorites: 1 2 3 | B: 4 ? | <b> &:");
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    EXPECT_EQ(shown(), "Favorites: #c1 #c2 #c3 | B: #c4 [Unknown service] | *<b> &:");
    press(Qt::Key_Delete); // nothing is lost with it
    EXPECT_EQ(stored(), "Favorites: 1 2 3 | B: 4 ?");
    press(QKeySequence(Qt::Key_Home, Qt::Key_Delete));
    auto* const box = editor->findChild<QMessageBox*>();
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(stored(), "Favorites: 1 2 3 | B: 4 ?");
    for (QAbstractButton* const button : box->buttons()) {
        if (button->text() == QLatin1String("Delete"))
            button->click();
    }
    EXPECT_EQ(stored(), "B: 4 ?");
    EXPECT_EQ(shown(), "*B: #c4 [Unknown service]");
}

TEST_F(BookmarksEditor, WhatIsDraggedLandsThere)
{
    constexpr int none = -1;
    struct {
        int folder, entry; // what is dragged, by row
        int parent, row; // where, as the view says it: none on a row, and below all of them
        char const* stored;
        char const* shown;
    } const drags[] = {
        { 0, 0, 0, 2, "Favorites: 2 1 3 | B: 4 ?", "Favorites: #c2 *#c1 #c3 | B: #c4 [Unk" },
        { 0, 2, 0, 0, "Favorites: 3 2 1 | B: 4 ?", "Favorites: *#c3 #c2 #c1 | B: #c4 [Unk" },
        { 0, 0, 1, 1, "Favorites: 2 1 | B: 4 3 ?", "Favorites: #c2 #c1 | B: #c4 *#c3 [Unk" },
        { 1, 0, 0, none, "Favorites: 2 1 4 | B: 3 ?", "Favorites: #c2 #c1 *#c4 | B: #c3 [Unk" },
        { 0, 1, none, none, "Favorites: 2 4 | B: 3 ? 1", "Favorites: #c2 #c4 | B: #c3 [Unknown s" },
        { 1, 0, none, 1, "Favorites: 2 4 3 | B: ? 1", "Favorites: #c2 #c4 *#c3 | B: [Unknown s" },
        { 1, none, none, 0, "B: ? 1 | Favorites: 2 4 3", "*B: [Unknown service] #c1 | Fav" },
        { 0, none, 1, none, "Favorites: 2 4 3 | B: ? 1",
          "Favorites: #c2 #c4 #c3 | *B: [Unknown s" },
        { 0, none, none, none, "B: ? 1 | Favorites: 2 4 3",
          "B: [Unknown service] #c1 | *Favorites:" },
    };
    auto* const model = tree->model();
    for (auto const& drag : drags) {
        QModelIndex const folder = model->index(drag.folder, 0);
        std::unique_ptr<QMimeData> const data(
            model->mimeData({ drag.entry == none ? folder : model->index(drag.entry, 0, folder) }));
        model->dropMimeData(data.get(), Qt::MoveAction, drag.row, drag.row == none ? none : 0,
                            drag.parent == none ? QModelIndex() : model->index(drag.parent, 0));
        EXPECT_EQ(stored(), drag.stored);
        EXPECT_EQ(shown().substr(0, strlen(drag.shown)), drag.shown);
    }
    QMimeData foreign;
    foreign.setData(model->mimeTypes().first(), QByteArray(8, '\x7f'));
    EXPECT_FALSE(model->dropMimeData(&foreign, Qt::MoveAction, 0, 0, {}));
}

TEST_F(BookmarksEditor, ChangesFromElsewhereKeepTheCurrentRow)
{
    press(QKeySequence(QLatin1String("Down, Down, Down")));
    tree->setExpanded(tree->model()->index(1, 0), false);
    world.saved->setPlaylistEntries(first, { place(4), place(3), place(1), place(4) });
    world.saved->movePlaylistById(first, 1);
    world.saved->setPlaylistName(second, QStringLiteral("b"));
    EXPECT_EQ(stored(), "b: 4 ? | Favorites: 4 3 1 4");
    EXPECT_EQ(shown(), "b+: #c4 [Unknown service] | Favorites: #c4 *#c3 #c1 #c4");
    world.sql(QStringLiteral("update guild_channel set name = 'new' where id = 3"));
    world.tell(DisChange::ChangeType::ChannelChanged, FlakeId(3));
    EXPECT_EQ(shown(), "b+: #c4 [Unknown service] | Favorites: #c4 *#new #c1 #c4");
    press(QKeySequence(Qt::Key_Home, Qt::Key_F2));
    auto* const field = tree->findChild<QLineEdit*>();
    ASSERT_NE(field, nullptr);
    field->setText(QStringLiteral("half"));
    world.saved->setPlaylistEntries(second, { place(1) });
    QCoreApplication::processEvents();
    EXPECT_EQ(field->text(), QStringLiteral("half"));
    world.saved->deletePlaylist(first);
    world.saved->deletePlaylist(second); // while its name is typed
    QCoreApplication::processEvents();
    EXPECT_EQ(shown(), "");
}

} // namespace

// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "bookmarks_editor.h"

#include "bookmark_actions.h"
#include "bookmarks_model.h"
#include "empty_hint.h"
#include "nak_go.h"
#include "saved_data.h"
#include "settings_file.h"
#include "shell_icons.h"

#include <QAction>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QPointer>
#include <QToolBar>
#include <QTreeView>
#include <QVBoxLayout>

namespace {

constexpr QSize defaultSize(580, 440);
constexpr int serverWidth = 20; // average characters
constexpr int noteMargin = 8;

constexpr ushort newFolderGlyph = 61543; // plus
constexpr ushort openGlyph = 61582; // arrow out of a box
constexpr ushort renameGlyph = 61504; // pencil
constexpr ushort removeGlyph = 61944; // trash

QPointer<NakBookmarksEditor>& theEditor()
{
    static QPointer<NakBookmarksEditor> editor;
    return editor;
}

QString geometryName()
{
    return QStringLiteral("bookmarks");
}

class BookmarksTree : public QTreeView {
public:
    using QTreeView::QTreeView;

protected:
    void paintEvent(QPaintEvent* event) override
    {
        QTreeView::paintEvent(event);
        int const folders = model()->rowCount();
        bool hasEntries = false;
        for (int row = 0; row < folders && !hasEntries; ++row)
            hasEntries = model()->hasChildren(model()->index(row, 0));
        QRect const last = visualRect(model()->index(folders - 1, 0));
        if (folders == 0)
            paintEmptyHint(viewport(), { tr("No bookmark folders"), tr("New Folder makes one") });
        else if (!hasEntries && last.bottom() < viewport()->height() / 2 - 2 * last.height())
            paintEmptyHint(viewport(),
                           { tr("No bookmarks yet"),
                             tr("Right-click a channel in the side bar and choose Add Bookmark") });
    }
};

} // namespace

NakBookmarksEditor::NakBookmarksEditor()
    : m_model(new NakBookmarksModel(this))
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(tr("Bookmarks - Nakwire"));
    resize(defaultSize);
    makeTree();
    makeActions();
    makeCentralWidget();
    select(m_model->index(0, NakBookmarksModel::Name));
    updateActions();
    NakSettingsFile const settings;
    if (settings.hasGeometry(geometryName()))
        restoreGeometry(settings.getGeometry(geometryName()));
}

// A quit deletes the window without closing it.
NakBookmarksEditor::~NakBookmarksEditor()
{
    NakSettingsFile().setGeometry(geometryName(), saveGeometry());
}

void NakBookmarksEditor::summon()
{
    if (!g_savedData)
        return;
    if (!theEditor())
        theEditor() = new NakBookmarksEditor;
    NakBookmarksEditor* const editor = theEditor();
    editor->setWindowState(editor->windowState() & ~Qt::WindowMinimized);
    editor->show();
    editor->raise();
    editor->activateWindow();
}

void NakBookmarksEditor::closeEvent(QCloseEvent* event)
{
    theEditor().clear(); // the next summons makes a new one, though this one is not deleted yet
    NakStyledWindow::closeEvent(event);
}

// --- parts ---

void NakBookmarksEditor::makeTree()
{
    m_tree = new BookmarksTree(this);
    m_tree->setModel(m_model);
    m_tree->setAccessibleName(tr("Bookmarks"));
    m_tree->setFrameShape(QFrame::NoFrame);
    m_tree->setUniformRowHeights(true);
    m_tree->setAllColumnsShowFocus(true);
    m_tree->setEditTriggers(QAbstractItemView::DoubleClicked);
    m_tree->setContextMenuPolicy(Qt::ActionsContextMenu);
    m_tree->setDragDropMode(QAbstractItemView::InternalMove);
    m_tree->header()->hide();
    m_tree->header()->setStretchLastSection(false);
    m_tree->header()->setSectionResizeMode(NakBookmarksModel::Name, QHeaderView::Stretch);
    m_tree->header()->resizeSection(NakBookmarksModel::Server,
                                    serverWidth * fontMetrics().averageCharWidth());
    m_tree->expandAll();
    connect(m_tree, &QAbstractItemView::activated, this, &NakBookmarksEditor::activate);
    connect(m_tree->selectionModel(), &QItemSelectionModel::currentChanged, this,
            &NakBookmarksEditor::updateActions);
    connect(m_model, &QAbstractItemModel::rowsInserted, this,
            [this](QModelIndex const& parent, int row) {
                if (!parent.isValid())
                    m_tree->expand(m_model->index(row, NakBookmarksModel::Name));
            });
    connect(m_model, &NakBookmarksModel::dropped, this, &NakBookmarksEditor::select);
    for (auto const signal :
         { &QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved })
        connect(m_model, signal, this, &NakBookmarksEditor::updateActions);
    connect(m_model, &QAbstractItemModel::rowsMoved, this, &NakBookmarksEditor::updateActions);
}

QAction* NakBookmarksEditor::addAction(QString const& text, ushort glyph, QKeySequence const& key,
                                       void (NakBookmarksEditor::*effect)())
{
    auto* const action = new QAction(NakShell::icon(glyph), text, this);
    action->setShortcut(key);
    action->setShortcutContext(Qt::WidgetShortcut); // in the field of a name they are the field's
    connect(action, &QAction::triggered, this, effect);
    m_tree->addAction(action);
    return action;
}

void NakBookmarksEditor::makeActions()
{
    using Self = NakBookmarksEditor;
    m_open = addAction(tr("Open"), openGlyph, {}, &Self::open);
    m_openInNewTab =
        addAction(tr("Open in New Tab"), {}, Qt::CTRL + Qt::Key_Return, &Self::openInNewTab);
    m_rename = addAction(tr("Rename"), renameGlyph, Qt::Key_F2, &Self::rename);
    m_remove = addAction(tr("Delete"), removeGlyph, QKeySequence::Delete, &Self::remove);
    m_up = addAction(tr("Move Up"), NakShell::upGlyph, Qt::ALT + Qt::Key_Up, &Self::moveUp);
    m_down =
        addAction(tr("Move Down"), NakShell::downGlyph, Qt::ALT + Qt::Key_Down, &Self::moveDown);
    m_newFolder =
        addAction(tr("New Folder..."), newFolderGlyph, QKeySequence::New, &Self::newFolder);

    QMenu* const menu = menuBar()->addMenu(tr("&Bookmarks"));
    menu->addActions(m_tree->actions());
    menu->addSeparator();
    QAction* const close = menu->addAction(tr("Close Window"), this, &QWidget::close);
    close->setShortcuts(
        { QKeySequence(QStringLiteral("Ctrl+W")), QKeySequence(QStringLiteral("Ctrl+Shift+W")) });

    auto* const bar = addToolBar(tr("Bookmarks"));
    bar->setMovable(false);
    bar->setContextMenuPolicy(Qt::PreventContextMenu);
    bar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    bar->addActions({ m_newFolder, m_open, m_rename, m_remove, m_up, m_down });
}

void NakBookmarksEditor::makeCentralWidget()
{
    auto* const central = new QWidget(this);
    auto* const layout = new QVBoxLayout(central);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_tree, 1);
    if (!g_savedData->keepsChanges()) {
        auto* const note = new QLabel(
            tr("The file of bookmarks cannot be written to: changes last until Nakwire quits."),
            central);
        note->setTextFormat(Qt::PlainText);
        note->setWordWrap(true);
        note->setMargin(noteMargin);
        layout->addWidget(note);
    }
    setCentralWidget(central);
    m_tree->setFocus();
}

// --- what is current ---

QModelIndex NakBookmarksEditor::current() const
{
    return m_tree->currentIndex().siblingAtColumn(NakBookmarksModel::Name);
}

void NakBookmarksEditor::select(QModelIndex const& index)
{
    m_tree->setCurrentIndex(index);
    m_tree->scrollTo(index);
}

void NakBookmarksEditor::updateActions()
{
    QModelIndex const index = current();
    bool const isFolder = m_model->isFolder(index);
    bool const isEntry = index.isValid() && !isFolder;
    int const folderRow = isEntry ? index.parent().row() : index.row();
    bool const isFirst = folderRow <= 0 && (isFolder || index.row() == 0);
    bool const isLast = folderRow == m_model->rowCount() - 1
        && (isFolder || index.row() == m_model->rowCount(index.parent()) - 1);
    m_open->setEnabled(isEntry);
    m_openInNewTab->setEnabled(isEntry);
    m_rename->setEnabled(isFolder);
    m_remove->setEnabled(index.isValid());
    m_up->setEnabled(index.isValid() && !isFirst);
    m_down->setEnabled(index.isValid() && !isLast);
}

// --- what is done with it ---

// Return on a folder; a double click there has begun to rename it.
void NakBookmarksEditor::activate(QModelIndex const& index)
{
    if (m_model->isFolder(index))
        m_tree->setExpanded(current(), !m_tree->isExpanded(current()));
    else
        open();
}

void NakBookmarksEditor::newFolder()
{
    NakBookmarks::askNewFolder(this, QStringLiteral("New Folder"), [this](int playlist) {
        m_model->bringInLine();
        select(m_model->folderIndex(playlist));
    });
}

void NakBookmarksEditor::open()
{
    NakGo::openNavLoc(m_model->placeOf(current()), NakGo::OpenMode::CurrentTab, this);
}

void NakBookmarksEditor::openInNewTab()
{
    NakGo::openNavLoc(m_model->placeOf(current()), NakGo::OpenMode::NewTab, this);
}

void NakBookmarksEditor::rename()
{
    m_tree->edit(current());
}

void NakBookmarksEditor::remove()
{
    QModelIndex const index = current();
    int const playlist = m_model->playlistOf(index);
    if (m_model->isFolder(index)) {
        NakBookmarks::deleteFolder(this, playlist);
    } else {
        auto entries = g_savedData->playlistEntries(playlist);
        entries.remove(index.row());
        g_savedData->setPlaylistEntries(playlist, entries);
    }
    m_model->bringInLine();
}

void NakBookmarksEditor::moveUp()
{
    moveCurrent(-1);
}

void NakBookmarksEditor::moveDown()
{
    moveCurrent(1);
}

void NakBookmarksEditor::moveCurrent(int rows)
{
    QModelIndex const index = current();
    int const playlist = m_model->playlistOf(index);
    if (m_model->isFolder(index)) {
        g_savedData->movePlaylistById(playlist, index.row() + rows);
        m_model->bringInLine();
        return select(m_model->folderIndex(playlist));
    }
    int const row = index.row() + rows;
    NakBookmarks::Spot before{ playlist, rows > 0 ? row + 1 : row };
    if (row < 0 || row >= m_model->rowCount(index.parent())) {
        QModelIndex const folder = index.parent().siblingAtRow(index.parent().row() + rows);
        before = { m_model->playlistOf(folder), rows > 0 ? 0 : m_model->rowCount(folder) };
    }
    auto const now = NakBookmarks::moveEntry({ playlist, index.row() }, before);
    m_model->bringInLine();
    select(m_model->entryIndex(now.playlist, now.index));
}

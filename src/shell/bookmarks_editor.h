// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The window in which bookmark folders and their entries are put in order; there is at most one.
// What is done is saved at once and every side bar follows, as it follows what is done elsewhere.
// User-interface thread; needs g_savedData.

#include "styled_window.h"

class NakBookmarksModel;
class QAction;
class QTreeView;

class NakBookmarksEditor : public NakStyledWindow {
    Q_OBJECT
public:
    ~NakBookmarksEditor() override;

    static void summon(); // raises the one that there is, or makes it

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    NakBookmarksEditor();
    void makeTree();
    void makeActions();
    QAction* addAction(QString const& text, ushort glyph, QKeySequence const& key,
                       void (NakBookmarksEditor::*effect)());
    void makeCentralWidget();
    void updateActions();
    void select(QModelIndex const& index);
    QModelIndex current() const; // of the first column

    void activate(QModelIndex const& index);
    void newFolder();
    void open();
    void openInNewTab();
    void rename();
    void remove();
    void moveUp();
    void moveDown();
    void moveCurrent(int rows); // 1 or -1; an entry at the end of its folder goes to the next one

    NakBookmarksModel* m_model;
    QTreeView* m_tree = nullptr;
    QAction* m_newFolder = nullptr;
    QAction* m_open = nullptr;
    QAction* m_openInNewTab = nullptr;
    QAction* m_rename = nullptr;
    QAction* m_remove = nullptr;
    QAction* m_up = nullptr;
    QAction* m_down = nullptr;
};

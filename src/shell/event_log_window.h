// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The window that shows the event log of this run: its lines with filters, a search, and the line
// at hand as a whole. User-interface thread; goes when it is closed.

#include "event_log_index.h"
#include "styled_window.h"

class NakEventLogFind;
class NakEventLogFindBar;
class NakEventLogSource;
class NakEventLogView;
class QLabel;
class QMenu;
class QPlainTextEdit;
class QToolBar;

class NakEventLogWindow : public NakStyledWindow {
    Q_OBJECT
public:
    explicit NakEventLogWindow(QString const& logFileName);
    ~NakEventLogWindow() override;

    // That of the running log, brought to the front; there is at most one.
    static void summon();

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void makeCentralWidget();
    void makeMenus();
    void makeFilters(QMenu* menu, QToolBar* bar);
    QAction* addFilter(QString const& text, quint32 NakEvLogIndex::Filter::*bits, quint32 bit);
    void changeFilter(quint32 NakEvLogIndex::Filter::*bits, quint32 bit, bool shown);
    void showAll();
    void copySelection();
    void showCurrent();
    void markFound();
    void updateStatus();

    NakEventLogSource* m_source;
    NakEventLogView* m_view;
    NakEventLogFind* m_find;
    NakEventLogFindBar* m_findBar;
    QPlainTextEdit* m_current = nullptr;
    QLabel* m_status = nullptr;
    QLabel* m_following = nullptr;
    QAction* m_copy = nullptr;
    QAction* m_showAll = nullptr;
    QList<QAction*> m_filters;
    NakEvLogIndex::Filter m_filter;
};

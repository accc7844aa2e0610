// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The page of one tab: a small tool bar, the content below it, and the tab's history.
// User-interface thread; owned by the tab widget. NakMainTabs gives it its places.

#include "nav_loc.h"

#include <QIcon>
#include <QPointer>
#include <QVector>
#include <QWidget>

class INakTabbedWidget;
class QAction;
class QToolBar;

namespace NakTabWidgetImpl {

class Wrapper : public QWidget {
    Q_OBJECT
public:
    // The actions belong to the tabs and stand in the tool bar of every page.
    Wrapper(QAction* back, QAction* forward, QWidget* parent);
    ~Wrapper() override;

    QWidget* content() const { return m_content; } // null in an empty tab
    INakTabbedWidget* tabbed() const;

    // The content's place; in an empty tab the one that it was told to show, if any.
    NakNavLoc place() const;

    // True if nothing is left to do: the content shows the place or moved there by itself.
    bool moveContentTo(NakNavLoc const& place);
    // Lets the content go, if any, and makes that of place.
    void replaceContent(NakNavLoc const& place);
    // The new content's items join the tool bar.
    void addContentToolBarItems();
    void showContent();
    void layoutChildren();

    // What the tab shows now, so that a change can be told.
    QString title;
    QIcon icon;

    QVector<NakNavLoc> backHistory; // latest last
    QVector<NakNavLoc> forwardHistory;

protected:
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void removeContent();

    QToolBar* m_toolBar;
    int m_fixedItemCount;
    QPointer<QWidget> m_content;
    NakNavLoc m_emptyPlace; // of a tab whose place has no content
};

} // namespace NakTabWidgetImpl

// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The list of notifications, in the manager's order. It owns a form per item and shows it above the
// item's actions. Only rows in the viewport are painted and get mouse events. The caret is a place
// for the keyboard: an item and one of its actions. User-interface thread.

#include "notif_vis.h"
#include "notifs_layout.h"

#include <QAbstractScrollArea>
#include <QVarLengthArray>
#include <QVector>

class NakNotifsScrollArea : public QAbstractScrollArea, public NakNotifVisContainerInterface {
    Q_OBJECT
public:
    // With the items that NakNotif::g_nakNotifManager has.
    explicit NakNotifsScrollArea(QWidget* parent = nullptr);
    ~NakNotifsScrollArea() override;

    // The caret, and its row and action; -1 without.
    int caretRow() const { return m_caret.row; }
    int caretAction() const { return m_caret.action; }
    void moveCaretUp();
    void moveCaretDown();
    void moveCaretSideways(int steps);
    void caretEnter();
    void caretDelete();

    // In viewport coordinates, with actions and separator.
    QRect rowRect(int row) const;
    QRect actionRect(int row, int action) const;

    void heightChanged(NakNotifVis* vis) override;
    void rectDirtied(NakNotifVis* vis, QRect const& rect) override;
    QWidget* containingWidget(NakNotifVis const* vis) const override;
    QStyle* style() const override;

protected:
    bool viewportEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    struct Row {
        NakNotifItem* item;
        NakNotifVis* vis;
        NakNotifStripLayout strip;
        int top = 0; // from the top of the content
        int height = 0; // with actions and separator
    };
    // action: -1 on none.
    struct Spot {
        int row = -1;
        int action = -1;
        bool operator==(Spot const& o) const { return row == o.row && action == o.action; }
    };
    struct VisibleItem {
        NakNotifVis* vis;
        QRect rect; // of the row, in viewport coordinates
    };

    void on_itemAdded(NakNotifItem* item);
    void on_itemRemoved(NakNotifItem* item);
    void on_itemActionsChanged(NakNotifItem* item);

    void appendRow(NakNotifItem* item);
    int rowOfItem(NakNotifItem const* item) const;
    int rowOfVis(NakNotifVis const* vis) const;
    void giveWidths();
    void updateRow(Row& row) const;
    void changeRow(int row);
    void updateLayout();
    void updateLayoutAfterChange(int oldBottom, int growth);
    void updateVisibleItems();

    Spot spotAt(QPoint const& pos) const;
    QPoint posInVis(int row, QPoint const& pos) const;
    bool isOverVis(int row, QPoint const& pos) const;
    void checkAndUpdateMouseOver();
    void setMouseOver(Spot const& spot);
    void updateStrip(int row);

    void setCaret(int row, int action);
    void clampCaret();
    void ensureItemVisible(int row);
    void activate(Spot const& spot);
    void paintRow(QPainter& painter, int row, QRect const& rect, QRect const& dirty);

    NakNotifsMetrics m_metrics;
    NakNotifsTheme m_theme;
    QVector<Row> m_rows;
    int m_firstVisible = 0;
    QVarLengthArray<VisibleItem, 64> m_visible; // the rows from m_firstVisible on
    Spot m_caret;
    Spot m_mouseOver;
    Spot m_pressed; // an action that the button went down on
    NakNotifVis* m_pressedVis = nullptr; // or a form
    bool m_layingOut = false; // heights change in their own order then
};

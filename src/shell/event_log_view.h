// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The lines of a log, of which only those on screen are read. Follows the end of the log unless the
// user scrolled away from it. User-interface thread.

#include "event_log_row.h"
#include "event_log_source.h"
#include "uni_list_view.h"

#include <QHash>

class NakEventLogView : public UniListViewBase {
    Q_OBJECT
public:
    NakEventLogView(NakEventLogSource* source, QWidget* parent);

    // Stays where it is, as far as that line or one near it is shown.
    void setFilter(NakEvLogIndex::Filter filter);

    // The needle is marked where a row shows it.
    void setNeedle(QString const& needle);

    NakEvLogRow::Style const& rowStyle() const { return m_style; }

    bool followsEnd() const;
    void goToEnd();

    void selectAllRows();
    bool hasSelection() const { return !m_selection.isEmpty(); }
    int selectedRowCount() const;
    // The selected lines from the top, as many as have this many bytes together.
    std::vector<NakEvLogIndex::Span> selectedSpans(qint64 maxBytes) const;
    // What the current row has to say, as a whole and bounded; empty without one.
    QString currentText() const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

private:
    struct Visible {
        int line;
        NakEvLogRow::Row row;
    };

    // After rows came at the end of the source's, and after all of them changed.
    void rowsAdded();
    void restarted();
    void returnToKeptLine();
    void remakeStyle();
    void forgetRows();
    Visible makeVisible(int line, NakEvLogLineReader* reader) const;

    QRegion remakeVisible() override;
    void keepKeysOfSpots() override { } // rows only come at the end
    bool rowIsSelected(int row) const override;
    bool selectRows(RowRange rows, bool keepOthers) override;
    bool toggleRow(int row) override;
    void paintRow(QPainter* painter, QRegion const& region, QRect const& rect, int row) override;
    bool rowKeyPress(int row, QKeyEvent* event) override;
    void rowContextMenu(int row, QContextMenuEvent* event) override;

    NakEventLogSource* m_source;
    NakEvLogRow::Style m_style;
    NakEvLogRow::Columns m_columns;
    QString m_needle;
    QHash<int, Visible> m_visible; // by row
    QVector<RowRange> m_selection; // apart from each other, from the top
    // Where to return to once a new filter has been asked about every line; -1 for nowhere.
    int m_keptLine = -1;
    bool m_keptIsCurrent = false;
};

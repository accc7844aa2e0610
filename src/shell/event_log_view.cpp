// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "event_log_view.h"

#include "empty_hint.h"
#include "nak_event_log.h"

#include <QContextMenuEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QScrollBar>

#include <algorithm>
#include <numeric>

namespace {

constexpr qint64 maxRowBytes = 4096; // more than the widest window shows
constexpr int maxRowChars = 1024;
constexpr int maxCurrentBytes = 1 << 14; // more would take longer than a frame to lay out

NakEvLogRow::Entry parsedEntry(QByteArray const& bytes)
{
    EvLogData::EntryReadData data;
    EvLogData::parseLine(&data, bytes.constData(), static_cast<unsigned long>(bytes.size()));
    NakEvLogRow::Entry entry;
    entry.severity = data.severity;
    if (data.severity == EvLog::Severity::NotParsed) {
        entry.message = evLogPlainText(bytes, maxRowChars);
        return entry;
    }
    entry.timestamp = evLogPlainText(bytes.left(static_cast<int>(data.timestampLength)), 23);
    if (data.category != EvLog::Category::None)
        entry.category = EvLog::toString(data.category);
    entry.message = evLogPlainText(bytes.mid(static_cast<int>(data.messageOffset)), maxRowChars);
    return entry;
}

} // namespace

NakEventLogView::NakEventLogView(NakEventLogSource* source, QWidget* parent)
    : UniListViewBase(parent)
    , m_source(source)
{
    setSelectionMode(ExtendedSelection);
    setFrameShape(QFrame::NoFrame);
    viewport()->setBackgroundRole(QPalette::Base);
    viewport()->setAutoFillBackground(true);
    remakeStyle();
    connect(source, &NakEventLogSource::rowsAdded, this, &NakEventLogView::rowsAdded);
    connect(source, &NakEventLogSource::restarted, this, &NakEventLogView::restarted);
    rowsAdded();
}

void NakEventLogView::setFilter(NakEvLogIndex::Filter filter)
{
    int const row = currentRow() >= 0 ? currentRow() : rowsInViewport().first;
    bool const keep =
        NakEvLogIndex::rowCount(m_source->index()) > 0 && (currentRow() >= 0 || !followsEnd());
    if (keep) { // otherwise it is on its way there, or there is nothing to keep
        m_keptLine = NakEvLogIndex::lineOfRow(m_source->index(), row);
        m_keptIsCurrent = currentRow() >= 0;
    }
    m_source->setFilter(filter);
}

void NakEventLogView::setNeedle(QString const& needle)
{
    m_needle = needle;
    forgetRows();
}

bool NakEventLogView::followsEnd() const
{
    return verticalScrollBar()->value() == verticalScrollBar()->maximum();
}

void NakEventLogView::goToEnd()
{
    verticalScrollBar()->setValue(verticalScrollBar()->maximum());
}

void NakEventLogView::selectAllRows()
{
    bool const changed = selectRows({ 0, NakEvLogIndex::rowCount(m_source->index()) - 1 }, false);
    announce(false, changed);
}

int NakEventLogView::selectedRowCount() const
{
    return std::accumulate(
        m_selection.begin(), m_selection.end(), 0,
        [](int rows, RowRange const& range) { return rows + range.last - range.first + 1; });
}

std::vector<NakEvLogIndex::Span> NakEventLogView::selectedSpans(qint64 maxBytes) const
{
    auto const& index = m_source->index();
    std::vector<NakEvLogIndex::Span> spans;
    for (RowRange const& range : m_selection) {
        for (int row = range.first; row <= range.last; ++row) {
            spans.push_back(NakEvLogIndex::spanOfLine(index, NakEvLogIndex::lineOfRow(index, row)));
            maxBytes -= spans.back().length + 1;
            if (maxBytes <= 0)
                return spans;
        }
    }
    return spans;
}

QString NakEventLogView::currentText() const
{
    if (currentRow() < 0)
        return {};
    auto const& index = m_source->index();
    int const line = NakEvLogIndex::lineOfRow(index, currentRow());
    NakEvLogLineReader reader(m_source->file());
    NakEvLogIndex::Span const span = NakEvLogIndex::spanOfLine(index, line);
    QString text = evLogPlainText(reader.line(span, maxCurrentBytes), maxCurrentBytes);
    if (span.length > maxCurrentBytes)
        text += u'…';
    return text;
}

void NakEventLogView::rowsAdded()
{
    bool const follow = followsEnd();
    adoptListing(NakEvLogIndex::rowCount(m_source->index()), spots());
    if (follow)
        goToEnd();
    returnToKeptLine();
    viewport()->update(); // what is said where there is nothing
}

void NakEventLogView::returnToKeptLine()
{
    auto const& index = m_source->index();
    if (m_keptLine < 0 || !m_source->isFiltered() || NakEvLogIndex::rowCount(index) == 0)
        return;
    int const row =
        std::min(NakEvLogIndex::rowOfLine(index, m_keptLine), NakEvLogIndex::rowCount(index) - 1);
    m_keptLine = -1;
    if (m_keptIsCurrent)
        setCurrentRow(row);
    else
        verticalScrollBar()->setValue(row * rowHeight());
}

void NakEventLogView::restarted()
{
    bool const had = currentRow() >= 0;
    m_visible.clear();
    m_selection.clear();
    adoptListing(NakEvLogIndex::rowCount(m_source->index()), {});
    goToEnd();
    viewport()->update();
    announce(had, had);
}

void NakEventLogView::paintEvent(QPaintEvent* event)
{
    UniListViewBase::paintEvent(event);
    if (NakEvLogIndex::rowCount(m_source->index()) > 0)
        return;
    if (!m_source->isComplete())
        return;
    if (!m_source->file()) {
        paintEmptyHint(viewport(),
                       { QStringLiteral("There is no log"),
                         QStringLiteral("What comes is shown once its file is there") });
    } else if (m_source->index().lines.empty()) {
        paintEmptyHint(viewport(),
                       { QStringLiteral("The log is empty"),
                         QStringLiteral("What happens from now on stands here") });
    } else {
        paintEmptyHint(viewport(),
                       { QStringLiteral("No line is of these levels and categories"),
                         QStringLiteral("The View menu shows more of them, or all") });
    }
}

void NakEventLogView::resizeEvent(QResizeEvent* event)
{
    bool const follow = followsEnd();
    m_columns = NakEvLogRow::layoutColumns(m_style, viewport()->width(), rowHeight());
    m_visible.clear();
    UniListViewBase::resizeEvent(event);
    if (follow)
        goToEnd();
}

void NakEventLogView::changeEvent(QEvent* event)
{
    UniListViewBase::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange
        || event->type() == QEvent::StyleChange)
        remakeStyle();
}

// With the button held the selection goes to the row under the pointer.
void NakEventLogView::mouseMoveEvent(QMouseEvent* event)
{
    if (!(event->buttons() & Qt::LeftButton) || currentRow() < 0)
        return;
    int const y = std::clamp(event->pos().y(), -rowHeight(), viewport()->height() + rowHeight());
    int const below = (y - rectForRow(0).top()) / rowHeight();
    int const row = std::clamp(below, 0, NakEvLogIndex::rowCount(m_source->index()) - 1);
    if (row == currentRow())
        return;
    ensureRowVisibleWithMinimumScrolling(row);
    QPoint const there = rectForRow(row).center();
    QMouseEvent press(QEvent::MouseButtonPress, there, Qt::LeftButton, Qt::LeftButton,
                      Qt::ShiftModifier);
    mousePressEvent(&press);
}

void NakEventLogView::remakeStyle()
{
    setRowHeight(QFontMetrics(font()).height() + 4);
    m_style = NakEvLogRow::makeStyle(font(), palette(), rowHeight());
    m_columns = NakEvLogRow::layoutColumns(m_style, viewport()->width(), rowHeight());
    forgetRows();
}

void NakEventLogView::forgetRows()
{
    m_visible.clear();
    remakeVisible();
    viewport()->update();
}

NakEventLogView::Visible NakEventLogView::makeVisible(int line, NakEvLogLineReader* reader) const
{
    QByteArray const bytes =
        reader->line(NakEvLogIndex::spanOfLine(m_source->index(), line), maxRowBytes);
    return { line, NakEvLogRow::layoutRow(parsedEntry(bytes), m_columns, m_style, m_needle) };
}

QRegion NakEventLogView::remakeVisible()
{
    QHash<int, Visible> old;
    old.swap(m_visible);
    QRegion changed;
    RowRange const rows = rowsInViewport();
    NakEvLogLineReader reader(m_source->file());
    auto const& index = m_source->index();
    int const last = std::min(rows.last, NakEvLogIndex::rowCount(index) - 1);
    for (int row = rows.first; row <= last; ++row) {
        int const line = NakEvLogIndex::lineOfRow(index, row);
        auto const known = old.constFind(row);
        if (known != old.cend() && known->line == line) {
            m_visible.insert(row, *known);
        } else {
            m_visible.insert(row, makeVisible(line, &reader));
            changed += rectForRow(row);
        }
    }
    return changed;
}

bool NakEventLogView::rowIsSelected(int row) const
{
    return std::any_of(m_selection.cbegin(), m_selection.cend(), [row](RowRange const& range) {
        return row >= range.first && row <= range.last;
    });
}

bool NakEventLogView::selectRows(RowRange rows, bool keepOthers)
{
    QVector<RowRange> const old = m_selection;
    m_selection.clear();
    rows.first = std::max(0, rows.first);
    for (RowRange const& range : old) {
        if (!keepOthers)
            continue;
        if (range.last + 1 < rows.first || range.first > rows.last + 1) {
            m_selection.append(range);
        } else { // they touch
            rows = { std::min(rows.first, range.first), std::max(rows.last, range.last) };
        }
    }
    if (!rows.isEmpty())
        m_selection.append(rows);
    auto const before = [](RowRange const& a, RowRange const& b) { return a.first < b.first; };
    std::sort(m_selection.begin(), m_selection.end(), before);
    auto const same = [](RowRange const& a, RowRange const& b) {
        return a.first == b.first && a.last == b.last;
    };
    return !std::equal(old.begin(), old.end(), m_selection.begin(), m_selection.end(), same);
}

bool NakEventLogView::toggleRow(int row)
{
    if (row < 0)
        return false;
    if (!rowIsSelected(row))
        return selectRows({ row, row }, true);
    QVector<RowRange> rest;
    for (RowRange const& range : qAsConst(m_selection)) {
        RowRange const above{ range.first, std::min(range.last, row - 1) };
        RowRange const below{ std::max(range.first, row + 1), range.last };
        if (!above.isEmpty())
            rest.append(above);
        if (!below.isEmpty())
            rest.append(below);
    }
    m_selection = rest;
    return true;
}

void NakEventLogView::paintRow(QPainter* painter, QRegion const& /*region*/, QRect const& rect,
                               int row)
{
    auto const found = m_visible.constFind(row);
    if (found != m_visible.cend())
        NakEvLogRow::paintRow(painter, found->row, rect.topLeft(), rowIsSelected(row), m_style);
}

bool NakEventLogView::rowKeyPress(int /*row*/, QKeyEvent* /*event*/)
{
    return false;
}

void NakEventLogView::rowContextMenu(int /*row*/, QContextMenuEvent* event)
{
    QMenu menu(this);
    menu.addActions(actions());
    menu.exec(event->globalPos());
}

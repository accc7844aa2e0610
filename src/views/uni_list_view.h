// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A flat list of keys with one row height, for lists of users, roles, bans and channels of any
// length. Only rows on screen have rich records and cost anything; a changed list costs one pass
// over its keys where a current or selected key has to be found again. User-interface thread.
//
// Derive from UniListView, answer its pure operations, and call listingChanged() after every
// change of the list, before the event loop runs again.

#include <QAbstractScrollArea>
#include <QHash>
#include <QRegion>
#include <QSet>

#include <algorithm>
#include <utility>

// What does not depend on the key: rows, scrolling, mouse, keys. A row of -1 is none.
class UniListViewBase : public QAbstractScrollArea {
    Q_OBJECT
public:
    enum SelectionMode {
        NoSelection, // there is a current row only
        SingleSelection, // the current row is the selected one
        ExtendedSelection // Ctrl toggles, Shift extends
    };

    explicit UniListViewBase(QWidget* parent = nullptr);
    ~UniListViewBase() override;

    SelectionMode selectionMode() const { return m_selectionMode; }
    void setSelectionMode(SelectionMode mode); // drops what it does not allow

    int rowHeight() const { return m_rowHeight; }
    void setRowHeight(int height); // at least 1
    int topMargin() const { return m_topMargin; }
    void setTopMargin(int margin);

    int currentRow() const { return m_spots.current; }
    // As if it had been clicked.
    void setCurrentRow(int row);
    QRect rectForRow(int row) const; // in viewport coordinates
    int rowAt(QPoint const& pos) const;
    // Only as far as the row needs to be seen whole.
    void ensureRowVisibleWithMinimumScrolling(int row);

signals:
    void currentChanged();
    void selectionChanged();

protected:
    struct RowRange {
        int first = 0;
        int last = -1;
        bool isEmpty() const { return last < first; }
    };
    // The rows that matter between events, and whose keys outlive a change of the list.
    struct Spots {
        int current = -1;
        int anchor = -1; // where a selection with Shift begins
        int hover = -1;
    };

    bool viewportEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

    // For the template.
    Spots const& spots() const { return m_spots; }
    RowRange rowsInViewport() const;
    // After the list changed to this many rows, with the spots where they are now.
    void adoptListing(int rowCount, Spots const& found);
    // Tells whoever listens, once all is in place.
    void announce(bool currentMoved, bool selectionMoved);

private:
    virtual QRegion remakeVisible() = 0; // returns the rows that show something else now
    virtual void keepKeysOfSpots() = 0;
    virtual bool rowIsSelected(int row) const = 0;
    // Both return whether the selection is another now.
    virtual bool selectRows(RowRange rows, bool keepOthers) = 0;
    virtual bool toggleRow(int row) = 0;
    virtual void paintRow(QPainter* painter, QRegion const& region, QRect const& rect, int row) = 0;
    virtual bool rowKeyPress(int row, QKeyEvent* event) = 0;
    virtual void rowContextMenu(int row, QContextMenuEvent* event) = 0;

    void _changeCurrentRow(int row, Qt::KeyboardModifiers modifiers);
    bool applySelection(int row, Qt::KeyboardModifiers modifiers);
    bool handleSelectionKey(QKeyEvent* event);
    int rowForKey(QKeyEvent const& event) const;
    bool moveCurrent(int row, int anchor);
    void refreshHover();
    void paintGround(QPainter& painter, QRect const& rect, int row) const;
    void paintFocus(QPainter& painter) const;
    void updateRow(int row);
    void layOut();
    void updateScrollBar();

    SelectionMode m_selectionMode = SingleSelection;
    int m_rowHeight;
    int m_topMargin = 0;
    int m_rowCount = 0;
    int m_offset = 0; // of the viewport's top in the content
    Spots m_spots;
    QPoint m_mousePos{ -1, -1 }; // in the viewport, or negative while the pointer is elsewhere
    bool m_firstBuildDone = false;
    bool m_layingOut = false; // what the scroll bar tells meanwhile is taken up at its end
};

// Key: a small value with == and qHash(). VisPtr: a shared pointer to what a row needs for paint.
// A key stands in the list once.
template <typename Key, typename VisPtr> class UniListView : public UniListViewBase {
public:
    struct VisibleItem {
        int row;
        VisPtr vis;
    };

    using UniListViewBase::UniListViewBase;

    void listingChanged();
    // Paints these rows again; keys that are not on screen cost a look into a hash.
    void markKeysDirty(Key const* keys, int count);

    QHash<Key, VisibleItem> const& visibleItems() const { return m_visible; }
    bool itemVis(Key const& key, VisPtr* vis) const; // false if it is not on screen

    bool hasCurrent() const { return spots().current >= 0; }
    Key const& currentKey() const { return m_currentKey; } // only while there is one
    bool isHovered(Key const& key) const { return spots().hover >= 0 && m_hoverKey == key; }
    QSet<Key> const& selection() const { return m_selection; }

protected:
    // The whole list, which the deriving class owns.
    virtual void keysList(Key const** keys, int* count) = 0;
    // The ground is there already, and the pen has the colour of text upon it.
    virtual void paintItem(QPainter* painter, QRegion const& region, QRect const& rect,
                           Key const& key, VisPtr const& vis) = 0;
    // A row comes on screen, and goes. What is on screen while the view dies does not go.
    virtual VisPtr mapItem(Key const& key) = 0;
    virtual void unmapItem(Key const& key, VisPtr const& vis) = 0;
    // Whether it took the key.
    virtual bool itemKeyPressEvent(Key const& /*key*/, QKeyEvent* /*event*/) { return false; }
    virtual void itemContextMenuEvent(Key const& /*key*/, QContextMenuEvent* /*event*/) { }

private:
    struct List {
        Key const* keys;
        int count;
    };
    List list() const;
    static int rowOf(List const& list, Key const& key, int formerRow);
    bool dropLostSelection(List const& list);

    QRegion remakeVisible() override;
    void keepKeysOfSpots() override;
    bool rowIsSelected(int row) const override;
    bool selectRows(RowRange rows, bool keepOthers) override;
    bool toggleRow(int row) override;
    void paintRow(QPainter* painter, QRegion const& region, QRect const& rect, int row) override;
    bool rowKeyPress(int row, QKeyEvent* event) override;
    void rowContextMenu(int row, QContextMenuEvent* event) override;

    QHash<Key, VisibleItem> m_visible;
    QSet<Key> m_selection;
    Key m_currentKey{}; // these are meaningful while their row is not -1
    Key m_anchorKey{};
    Key m_hoverKey{};
};

template <typename Key, typename VisPtr>
typename UniListView<Key, VisPtr>::List UniListView<Key, VisPtr>::list() const
{
    List list{ nullptr, 0 };
    const_cast<UniListView*>(this)->keysList(&list.keys, &list.count);
    return list;
}

// A list that changed little has the key where it was, or near.
template <typename Key, typename VisPtr>
int UniListView<Key, VisPtr>::rowOf(List const& list, Key const& key, int formerRow)
{
    if (formerRow < 0) {
        return -1;
    }
    if (formerRow < list.count && list.keys[formerRow] == key) {
        return formerRow;
    }
    Key const* const end = list.keys + list.count;
    Key const* const found = std::find(list.keys, end, key);
    return found == end ? -1 : static_cast<int>(found - list.keys);
}

template <typename Key, typename VisPtr>
bool UniListView<Key, VisPtr>::dropLostSelection(List const& list)
{
    QSet<Key> kept;
    for (int row = 0; row < list.count && kept.size() < m_selection.size(); ++row) {
        if (m_selection.contains(list.keys[row])) {
            kept.insert(list.keys[row]);
        }
    }
    bool const lost = kept.size() < m_selection.size();
    m_selection = kept;
    return lost;
}

template <typename Key, typename VisPtr> void UniListView<Key, VisPtr>::listingChanged()
{
    List const now = list();
    Spots found;
    found.current = rowOf(now, m_currentKey, spots().current);
    found.anchor = rowOf(now, m_anchorKey, spots().anchor);
    found.hover = rowOf(now, m_hoverKey, spots().hover);
    bool const currentLost = spots().current >= 0 && found.current < 0;
    bool const selectionLost = dropLostSelection(now);
    adoptListing(now.count, found);
    announce(currentLost, selectionLost);
}

template <typename Key, typename VisPtr>
void UniListView<Key, VisPtr>::markKeysDirty(Key const* keys, int count)
{
    QRegion dirty;
    for (int i = 0; i < count; ++i) {
        auto const found = m_visible.constFind(keys[i]);
        if (found != m_visible.cend()) {
            dirty += rectForRow(found->row);
        }
    }
    viewport()->update(dirty);
}

template <typename Key, typename VisPtr>
bool UniListView<Key, VisPtr>::itemVis(Key const& key, VisPtr* vis) const
{
    auto const found = m_visible.constFind(key);
    if (found == m_visible.cend()) {
        return false;
    }
    *vis = found->vis;
    return true;
}

template <typename Key, typename VisPtr> QRegion UniListView<Key, VisPtr>::remakeVisible()
{
    List const now = list();
    RowRange const rows = rowsInViewport();
    QHash<Key, VisibleItem> old;
    old.swap(m_visible);
    QRegion changed;
    for (int row = rows.first; row <= std::min(rows.last, now.count - 1); ++row) {
        Key const& key = now.keys[row];
        auto const known = old.find(key);
        if (known == old.end()) {
            if (!m_visible.contains(key)) { // unless the list has it twice
                m_visible.insert(key, { row, mapItem(key) });
            }
            changed += rectForRow(row);
            continue;
        }
        if (known->row != row) { // where it was, there may be nothing now
            changed += rectForRow(row);
            changed += rectForRow(known->row);
        }
        m_visible.insert(key, { row, std::move(known->vis) });
        old.erase(known);
    }
    for (auto gone = old.cbegin(); gone != old.cend(); ++gone) {
        changed += rectForRow(gone->row);
        unmapItem(gone.key(), gone->vis);
    }
    return changed;
}

template <typename Key, typename VisPtr> void UniListView<Key, VisPtr>::keepKeysOfSpots()
{
    List const now = list();
    auto const keep = [&now](Key& key, int row) {
        if (row >= 0 && row < now.count) {
            key = now.keys[row];
        }
    };
    keep(m_currentKey, spots().current);
    keep(m_anchorKey, spots().anchor);
    keep(m_hoverKey, spots().hover);
}

template <typename Key, typename VisPtr> bool UniListView<Key, VisPtr>::rowIsSelected(int row) const
{
    List const now = list();
    return row >= 0 && row < now.count && m_selection.contains(now.keys[row]);
}

template <typename Key, typename VisPtr>
bool UniListView<Key, VisPtr>::selectRows(RowRange rows, bool keepOthers)
{
    List const now = list();
    QSet<Key> wanted;
    if (keepOthers) {
        wanted = m_selection;
    }
    for (int row = std::max(0, rows.first); row <= std::min(rows.last, now.count - 1); ++row) {
        wanted.insert(now.keys[row]);
    }
    if (wanted == m_selection) {
        return false;
    }
    m_selection = wanted;
    return true;
}

template <typename Key, typename VisPtr> bool UniListView<Key, VisPtr>::toggleRow(int row)
{
    List const now = list();
    if (row < 0 || row >= now.count) {
        return false;
    }
    if (!m_selection.remove(now.keys[row])) {
        m_selection.insert(now.keys[row]);
    }
    return true;
}

template <typename Key, typename VisPtr>
void UniListView<Key, VisPtr>::paintRow(QPainter* painter, QRegion const& region, QRect const& rect,
                                        int row)
{
    List const now = list();
    if (row >= now.count) {
        return;
    }
    auto const found = m_visible.constFind(now.keys[row]);
    if (found != m_visible.cend()) {
        paintItem(painter, region, rect, found.key(), found->vis);
    }
}

template <typename Key, typename VisPtr>
bool UniListView<Key, VisPtr>::rowKeyPress(int row, QKeyEvent* event)
{
    List const now = list();
    return row < now.count && itemKeyPressEvent(now.keys[row], event);
}

template <typename Key, typename VisPtr>
void UniListView<Key, VisPtr>::rowContextMenu(int row, QContextMenuEvent* event)
{
    List const now = list();
    if (row < now.count) {
        itemContextMenuEvent(now.keys[row], event);
    }
}

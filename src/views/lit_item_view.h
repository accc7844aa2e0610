// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A scrolled tree of bare numbers for tens of thousands of rows: heights only, no text and no
// model. Whoever derives from it keeps what the numbers mean, and rich data for visible items only.
// An edit costs the depth of the item. Edits between beginEdit() and endEdit() are laid out once.
// User-interface thread.
//
// Rectangles are in viewport coordinates and as wide as the viewport. No item is 0xFFFFFFFF
// (Lit::none). Ids come back after deletion, so nobody may keep the id of a deleted item.

#include "lit_ctx.h"

#include <QAbstractScrollArea>
#include <QVarLengthArray>

struct LitVisibleItem {
    unsigned int item = Lit::none;
    QRect rect; // with the children
};
Q_DECLARE_TYPEINFO(LitVisibleItem, Q_PRIMITIVE_TYPE);

struct LitPathEntry {
    unsigned int item = Lit::none;
    QRect rect; // with the children
};

// From the root down to an item.
class LitPath {
public:
    bool isEmpty() const { return m_entries.isEmpty(); }
    int size() const { return m_entries.size(); }
    LitPathEntry const& at(int index) const { return m_entries[index]; }
    LitPathEntry const& last() const { return m_entries.last(); }
    LitPathEntry const* begin() const { return m_entries.begin(); }
    LitPathEntry const* end() const { return m_entries.end(); }

    LitPathEntry const* find(unsigned int item) const; // null if it is not on the path
    bool contains(unsigned int item) const { return find(item) != nullptr; }
    int indexOf(unsigned int item) const; // -1 if it is not on the path

    void append(LitPathEntry const& entry) { m_entries.append(entry); }

private:
    QVarLengthArray<LitPathEntry, 8> m_entries;
};

// What a screen reader says of an item.
struct LitSpokenItem {
    QString name; // empty: nothing, and the item is passed over
    bool hasFocus = false; // the keyboard's, when the view has it
    bool isActive = false;
    bool isGroup = false;
    bool isCollapsed = false;
};

class LitItemView : public QAbstractScrollArea {
    Q_OBJECT
public:
    explicit LitItemView(QWidget* parent = nullptr);
    ~LitItemView() override;

    // There from the start; it can be neither deleted nor hung anywhere.
    unsigned int rootItem() const { return m_root; }

    // A new item hangs nowhere; without a style it is 0 pixels long. createItem() and createStyle()
    // return all bits set when there is no number left.
    unsigned int createItem(unsigned int style = Lit::none);
    // The item goes with everything below it.
    void deleteItem(unsigned int item);
    void detach(unsigned int item);
    // An item that hangs somewhere moves, with everything below it. An item must not come to hang
    // below itself.
    void prependChild(unsigned int parent, unsigned int child);
    void appendChild(unsigned int parent, unsigned int child);
    void insertBefore(unsigned int sibling, unsigned int item);
    void insertAfter(unsigned int sibling, unsigned int item);

    // The header is what the item itself takes above its children, in pixels. The second number
    // has no meaning: a tree has one dimension here.
    unsigned int createStyle(int header, int unused = 0);
    void deleteStyle(unsigned int style); // no item may have it any more
    void setStyleHeader(unsigned int style, int header);
    void setItemStyle(unsigned int item, unsigned int style);
    void rebuildLengths(unsigned int item);
    void rebuildAllLengths();

    unsigned int itemStyle(unsigned int item) const { return node(item).style; }
    int styleHeader(unsigned int style) const;
    bool itemExists(unsigned int item) const;
    unsigned int parent(unsigned int item) const { return node(item).parent; }
    unsigned int nextSibling(unsigned int item) const { return node(item).nextSibling; }
    unsigned int prevSibling(unsigned int item) const { return node(item).prevSibling; }
    unsigned int firstChild(unsigned int item) const { return node(item).firstChild; }
    unsigned int lastChild(unsigned int item) const { return node(item).lastChild; }
    // Reading order: an item comes before its children.
    unsigned int lastDescendant(unsigned int item) const;
    unsigned int nextLinearly(unsigned int item) const;
    unsigned int prevLinearly(unsigned int item) const;
    // The same without leaving what is below the ancestor; from the ancestor itself,
    // nextDescendant() gives the first.
    unsigned int nextDescendant(unsigned int item, unsigned int ancestor) const;
    unsigned int prevDescendant(unsigned int item, unsigned int ancestor) const;
    bool isDescendantOf(unsigned int item, unsigned int ancestor) const;
    int rootLength() const;

    // Pairs nest. While an edit is open visibleItems() is as old as the edit; all other readers
    // are exact.
    void beginEdit();
    void endEdit();

    void invalidate();
    void invalidate(QRect const& rect);
    void invalidate(QRegion const& region);

    // In reading order, the root first. An item of no length is not visible.
    QVector<LitVisibleItem> const& visibleItems() const { return m_visible; }
    QRect rectForVisibleItem(unsigned int item) const; // null if it is not visible
    bool itemIsVisible(unsigned int item) const;
    // Null if the item does not hang under the root.
    QRect rectForItem(unsigned int item) const;
    // Ends with the deepest item under the point; empty if there is none.
    LitPath pathAtPoint(QPoint const& point) const;
    // Of an item that is higher than the viewport the top is shown.
    void ensureItemVisibleWithMinimumScrolling(unsigned int item);

    // Of a visible item.
    virtual LitSpokenItem spokenItem(unsigned int item) const;

protected:
    // itemRect is the header, fullRect takes the children in. Ancestors come before descendants.
    virtual void paintItem(QPainter* painter, unsigned int item, QRect const& itemRect,
                           QRect const& fullRect, QRegion const& region);
    // After each scroll, resize and edit that can be seen.
    virtual void visibleItemsChanged();
    virtual void viewportMouseEnterEvent(QEvent* event);
    // The pointer moved over the content, or the content below the pointer.
    virtual void viewportMousePositionEvent(QPoint const& pos);
    virtual void viewportMouseLeaveEvent(QEvent* event);

    bool viewportEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;

private:
    using QAbstractScrollArea::parent;

    Lit::Node const& node(unsigned int item) const { return m_ctx.nodes[item]; }
    void hang(unsigned int parent, unsigned int item, unsigned int before);
    void noteChange(bool underRoot);
    void layOut();
    bool looksLikeBefore() const;
    void tellMousePosition();
    void updateScrollBar();
    void rebuildVisibleItems();
    QRect rectAt(int top, int length) const;

    Lit::Ctx m_ctx;
    unsigned int m_root;
    QVector<LitVisibleItem> m_visible;
    QVector<LitVisibleItem> m_visibleBefore; // kept for its memory
    bool m_visibleGone = false; // a visible item was deleted since the last layout
    int m_offset = 0; // of the viewport's top in the content
    int m_editDepth = 0;
    bool m_changePending = false;
    bool m_firstBuildDone = false;
    bool m_layingOut = false; // what the scroll bar tells meanwhile is taken up at its end
    QPoint m_mousePos{ -1, -1 }; // in the viewport, or negative while the pointer is elsewhere
};

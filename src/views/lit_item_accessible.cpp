// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "lit_item_accessible.h"

#include "lit_item_view.h"

#include <QAccessibleWidget>
#include <QPointer>
#include <QWindow>

namespace {

// Readers keep rows for as long as they like, so one may be of an item that is gone.
class RowAccessible : public QAccessibleInterface {
public:
    RowAccessible(LitItemView* view, unsigned int item)
        : m_view(view)
        , m_item(item)
    {
    }

    bool isValid() const override { return m_view && m_view->itemIsVisible(m_item); }
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return m_view ? m_view->window()->windowHandle() : nullptr; }
    QAccessibleInterface* parent() const override
    {
        return QAccessible::queryAccessibleInterface(m_view);
    }
    QAccessibleInterface* child(int) const override { return nullptr; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(QAccessibleInterface const*) const override { return -1; }
    QAccessible::Role role() const override { return QAccessible::ListItem; }
    void setText(QAccessible::Text, QString const&) override { }

    QString text(QAccessible::Text kind) const override
    {
        return kind == QAccessible::Name && isValid() ? m_view->spokenItem(m_item).name : QString();
    }
    QRect rect() const override
    {
        if (!isValid())
            return {};
        QRect const whole = m_view->rectForVisibleItem(m_item);
        QRect const header(whole.topLeft(),
                           QSize(whole.width(), m_view->styleHeader(m_view->itemStyle(m_item))));
        return { m_view->viewport()->mapToGlobal(header.topLeft()), header.size() };
    }
    QAccessible::State state() const override
    {
        QAccessible::State state;
        if (!isValid()) {
            state.invalid = true;
            return state;
        }
        LitSpokenItem const spoken = m_view->spokenItem(m_item);
        state.focusable = true;
        state.focused = spoken.hasFocus && m_view->hasFocus();
        state.selectable = true;
        state.selected = spoken.isActive;
        state.expandable = spoken.isGroup;
        state.collapsed = spoken.isGroup && spoken.isCollapsed;
        state.expanded = spoken.isGroup && !spoken.isCollapsed;
        return state;
    }

private:
    QPointer<LitItemView> m_view;
    unsigned int m_item;
};

class ViewAccessible : public QAccessibleWidget {
public:
    explicit ViewAccessible(LitItemView* view)
        : QAccessibleWidget(view, QAccessible::List)
    {
    }
    ~ViewAccessible() override { forgetAll(); }

    int childCount() const override { return rows().size(); }
    QAccessibleInterface* child(int index) const override
    {
        QVector<unsigned int> const items = rows();
        return index >= 0 && index < items.size() ? faceOf(items.at(index)) : nullptr;
    }
    QAccessibleInterface* childAt(int x, int y) const override
    {
        LitPath const path = view()->pathAtPoint(view()->viewport()->mapFromGlobal({ x, y }));
        return !path.isEmpty() && isRow(path.last().item) ? faceOf(path.last().item) : nullptr;
    }
    QAccessibleInterface* focusChild() const override
    {
        for (unsigned int const item : rows())
            if (view()->spokenItem(item).hasFocus)
                return faceOf(item);
        return nullptr;
    }
    int indexOfChild(QAccessibleInterface const* face) const override
    {
        return rows().indexOf(m_faces.key(
            QAccessible::uniqueId(const_cast<QAccessibleInterface*>(face)), // only looked up
            Lit::none));
    }

    QVector<unsigned int> rows() const
    {
        QVector<unsigned int> items;
        for (LitVisibleItem const& visible : view()->visibleItems())
            if (isRow(visible.item))
                items.append(visible.item);
        return items;
    }

private:
    LitItemView* view() const { return static_cast<LitItemView*>(widget()); }
    bool isRow(unsigned int item) const { return !view()->spokenItem(item).name.isEmpty(); }

    QAccessibleInterface* faceOf(unsigned int item) const
    {
        if (m_faces.size() > mostFaces)
            forgetAll();
        QAccessible::Id& id = m_faces[item];
        if (id == 0)
            id = QAccessible::registerAccessibleInterface(new RowAccessible(view(), item));
        return QAccessible::accessibleInterface(id);
    }
    void forgetAll() const
    {
        for (QAccessible::Id const id : qAsConst(m_faces))
            QAccessible::deleteAccessibleInterface(id);
        m_faces.clear();
    }

    static constexpr int mostFaces = 1000; // several screens of rows
    mutable QHash<unsigned int, QAccessible::Id> m_faces; // by item
};

QAccessibleInterface* makeAccessible(QString const&, QObject* object)
{
    auto* const view = qobject_cast<LitItemView*>(object);
    return view ? new ViewAccessible(view) : nullptr;
}

} // namespace

void LitAccessible::install()
{
    static bool const installed = [] {
        QAccessible::installFactory(makeAccessible);
        return true;
    }();
    Q_UNUSED(installed)
}

void LitAccessible::focusMoved(LitItemView& view, unsigned int item)
{
    if (!QAccessible::isActive())
        return;
    auto* const face = static_cast<ViewAccessible*>(QAccessible::queryAccessibleInterface(&view));
    QAccessibleEvent event(&view, QAccessible::Focus);
    event.setChild(face->rows().indexOf(item));
    QAccessible::updateAccessibility(&event);
}

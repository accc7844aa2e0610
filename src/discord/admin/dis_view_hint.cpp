// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_view_hint.h"

#include <QAbstractItemView>
#include <QEvent>

DisViewHint::DisViewHint(QAbstractItemView* view)
    : QObject(view)
    , m_viewport(view->viewport())
{
    m_viewport->installEventFilter(this);
}

DisViewHint::~DisViewHint() = default;

void DisViewHint::show(NakEmptyHint const& hint)
{
    m_hint = hint;
    m_viewport->update();
}

void DisViewHint::clear()
{
    m_hint.reset();
    m_viewport->update();
}

// There is nothing else to paint: the view has no rows.
bool DisViewHint::eventFilter(QObject* object, QEvent* event)
{
    if (!m_hint || event->type() != QEvent::Paint)
        return QObject::eventFilter(object, event);
    paintEmptyHint(m_viewport, *m_hint);
    return true;
}

// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What a list shows in place of rows while it has none to show. User-interface thread; belongs to
// its view.

#include "empty_hint.h"

#include <QObject>

#include <optional>

class QAbstractItemView;

class DisViewHint : public QObject {
    Q_OBJECT
public:
    explicit DisViewHint(QAbstractItemView* view);
    ~DisViewHint() override;

    void show(NakEmptyHint const& hint); // only while there are no rows to see
    void clear();

protected:
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    QWidget* const m_viewport;
    std::optional<NakEmptyHint> m_hint;
};

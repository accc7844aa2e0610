// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The parts of a NakJumpView: the matchers, their rows merged, and the list that shows them.

#include "jump_matcher.h"
#include "lit_item_view.h"

#include <vector>

class NakJumpView;
class QLineEdit;

class NakJumpLitView;

namespace NakJumpViewImpl {

constexpr unsigned int noItem = Lit::none;

struct BoundMatcher {
    QObject* provider = nullptr;
    NakJumpMatcher* matcher = nullptr;
    QMetaObject::Connection matchesUpdated;
    QMetaObject::Connection itemDirtied;
};

struct MatchItem {
    NakJumpMatcher* matcher = nullptr;
    unsigned int number = 0; // the matcher's
    qint32 relevance = 0;
    quint32 flags = 0;
    unsigned int item = noItem; // the list's, with a style of its own
};

struct Priv {
    NakJumpView* view = nullptr;
    QWidget* chatWindow = nullptr;
    NakJump::Style style;
    QLineEdit* input = nullptr;
    NakJumpLitView* list = nullptr;
    QVector<BoundMatcher> matchers;
    std::vector<MatchItem> items; // in the order shown
    unsigned int selected = noItem; // of the list
};

} // namespace NakJumpViewImpl

class NakJumpLitView : public LitItemView {
    Q_OBJECT
public:
    NakJumpLitView(NakJumpViewImpl::Priv* d, QWidget* parent);

protected:
    void paintItem(QPainter* painter, unsigned int item, QRect const& itemRect,
                   QRect const& fullRect, QRegion const& region) override;
    void visibleItemsChanged() override;
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    unsigned int itemAt(QPoint const& pos) const; // noItem where there is none

    NakJumpViewImpl::Priv* const d;
};

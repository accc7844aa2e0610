// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The toolkit's tab widget with our bar, a button for a new tab, and a hint where no tab is left.

#include <QTabWidget>

class NakTabBar;
class QToolButton;

namespace NakTabWidgetImpl {

class InnerTabWidget : public QTabWidget {
    Q_OBJECT
public:
    explicit InnerTabWidget(QWidget* parent);

    NakTabBar* bar() const { return m_bar; }
    QToolButton* newTabButton() const { return m_newTab; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    NakTabBar* m_bar;
    QToolButton* m_newTab;
};

} // namespace NakTabWidgetImpl

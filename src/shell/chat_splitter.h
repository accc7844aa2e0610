// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The side bar and the tabs of a window, side by side with a hairline between them. User-interface
// thread; owned by the window.

#include <QFrame>
#include <QSplitter>

class NakChatSplitterHandle : public QSplitterHandle {
    Q_OBJECT
public:
    NakChatSplitterHandle(Qt::Orientation orientation, QSplitter* parent);

protected:
    void paintEvent(QPaintEvent* event) override;
};

class NakChatSplitter : public QSplitter {
    Q_OBJECT
public:
    explicit NakChatSplitter(QWidget* parent);

    // Takes both; the first gives up its room to nobody, and can be drawn shut.
    void setWidgets(QWidget* sideBar, QWidget* tabs);

    int sideBarWidth() const; // 0 while it is shut
    void setSideBarWidth(int width);

protected:
    QSplitterHandle* createHandle() override;
};

// Holds the side bar in the splitter, so that what the bar asks for does not keep the splitter from
// drawing it shut.
class TrickyFrame : public QFrame {
    Q_OBJECT
public:
    explicit TrickyFrame(QWidget* parent);

    void setContent(QWidget* content); // takes it
    QSize minimumSizeHint() const override;
};

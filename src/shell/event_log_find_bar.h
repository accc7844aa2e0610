// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Below the lines of a log: what is looked for, how much of it was found, and the way from one to
// the next. User-interface thread.

#include <QWidget>

#include <functional>

class NakEventLogFind;
class NakEventLogView;
class QLabel;
class QLineEdit;

class NakEventLogFindBar : public QWidget {
    Q_OBJECT
public:
    NakEventLogFindBar(NakEventLogFind* find, NakEventLogView* view, QWidget* parent);

    void open(); // with the focus
    void close(); // which the lines get
    void step(bool down); // opens it where nothing is looked for

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void makeButton(ushort glyph, QString const& tip, std::function<void()> const& effect);
    void startFinding(QString const& needle);
    void onFound();
    QString countText() const;

    NakEventLogFind* m_find;
    NakEventLogView* m_view;
    QLineEdit* m_field;
    QLabel* m_count;
    int m_origin = -1; // the row from which a first find is wanted; -1 once there is one
};

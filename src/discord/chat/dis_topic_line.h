// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A channel's topic on one line above its messages; the tool tip has all of it. User-interface
// thread only.

#include <QString>
#include <QWidget>

class DisTopicLine : public QWidget {
    Q_OBJECT
public:
    explicit DisTopicLine(QWidget* parent = nullptr);
    ~DisTopicLine() override;

    // An empty topic hides the line.
    void setTopic(QString const& topic);
    QString topic() const { return m_topic; }
    QString shownText() const; // elided

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QRect textRect() const;

    QString m_topic;
    QString m_line; // the topic without its line breaks
};

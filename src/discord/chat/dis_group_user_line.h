// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The header line of a group: the author's name in the colour of the role, whether they are there
// if the user wants that, what kind of account it is, and when the first message was sent. Painted
// by hand. User-interface thread only.

#include "dis_buff_style.h"

#include <QString>
#include <QWidget>

#include <optional>

// What a line shows.
struct DisGroupUserLineContent {
    QString name;
    QString discriminator; // empty when it is not shown
    QString time;
    QString fullDate; // the tool tip of the time
    QColor nameColor; // invalid: the theme's
    DisUserStatusCode status = DisUserStatusCode::Unknown;
    bool isBot = false;
};

struct DisGroupUserLineLayout {
    QRect name;
    QString nameText; // elided to the rectangle
    QRect status; // empty when it is not shown
    QRect discriminator;
    QRect bot;
    QRect time;
    int height = 0;
};

enum class DisGroupUserLinePart { None, Name, Discriminator, Bot, Time };

DisGroupUserLineLayout layoutUserLine(DisGroupUserLineContent const& content,
                                      DisBuffMetrics const& metrics, int width);
void paintUserLine(QPainter& painter, DisGroupUserLineLayout const& layout,
                   DisGroupUserLineContent const& content, DisBuffStyle const& style);
DisGroupUserLinePart hitUserLine(DisGroupUserLineLayout const& layout, QPoint const& pos);

class DisGroupUserLine : public QWidget {
    Q_OBJECT
public:
    // An absent field leaves what the line shows as it is.
    struct Params {
        std::optional<QString> name;
        std::optional<QString> discriminator;
        std::optional<QString> time;
        std::optional<QString> fullDate;
        std::optional<QColor> nameColor;
        std::optional<DisUserStatusCode> status;
        std::optional<bool> isBot;
    };

    // The style must outlive the line.
    explicit DisGroupUserLine(DisBuffStyle const& style, QWidget* parent);
    ~DisGroupUserLine() override;

    void setParams(Params const& params);
    DisGroupUserLineContent const& content() const { return m_content; }
    void styleChanged();
    int lineHeight() const;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    DisGroupUserLineLayout const& layoutNow();

    DisBuffStyle const& m_style;
    DisGroupUserLineContent m_content;
    DisGroupUserLineLayout m_layout;
    int m_layoutWidth = -1;
};

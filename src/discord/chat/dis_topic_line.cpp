// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_topic_line.h"

#include "app_theme.h"

#include <QPainter>

namespace {

constexpr int sideMargin = 5;
constexpr int verticalMargin = 2;

} // namespace

DisTopicLine::DisTopicLine(QWidget* parent)
    : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    hide();
}

DisTopicLine::~DisTopicLine() = default;

void DisTopicLine::setTopic(QString const& topic)
{
    m_topic = topic;
    m_line = topic.simplified();
    // A tool tip shows what looks like markup as markup, which a topic is not.
    setToolTip(m_line.isEmpty() ? QString()
                                : QStringLiteral("<p style='white-space:pre-wrap'>")
                       + topic.trimmed().toHtmlEscaped() + QStringLiteral("</p>"));
    setVisible(!m_line.isEmpty());
    update();
}

QString DisTopicLine::shownText() const
{
    return fontMetrics().elidedText(m_line, Qt::ElideRight, textRect().width());
}

QSize DisTopicLine::sizeHint() const
{
    return { fontMetrics().horizontalAdvance(m_line) + 2 * sideMargin,
             fontMetrics().height() + 2 * verticalMargin };
}

QSize DisTopicLine::minimumSizeHint() const
{
    return { 0, sizeHint().height() };
}

void DisTopicLine::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setPen(NakAppTheme::secondaryTextColor(palette()));
    painter.drawText(textRect(), Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                     shownText());
}

QRect DisTopicLine::textRect() const
{
    return rect().adjusted(sideMargin, verticalMargin, -sideMargin, -verticalMargin);
}

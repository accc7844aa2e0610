// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_group_user_line.h"

#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>

#include <algorithm>

namespace {

QString botText()
{
    return QStringLiteral("BOT");
}

template <typename T> void assign(T& field, std::optional<T> const& value)
{
    if (value) {
        field = *value;
    }
}

// The rectangle of a text on the line's base line, at x; moves x behind it.
QRect takePart(int& x, QString const& text, QFontMetrics const& fm, DisBuffMetrics const& metrics)
{
    if (text.isEmpty()) {
        return {};
    }
    QRect const rect(x, metrics.nameFm.ascent() - fm.ascent(), fm.horizontalAdvance(text),
                     fm.height());
    x += rect.width() + metrics.partGap;
    return rect;
}

void drawPart(QPainter& painter, QRect const& rect, QString const& text, QFont const& font,
              QFontMetrics const& fm, QColor const& color)
{
    if (rect.isEmpty()) {
        return;
    }
    painter.setFont(font);
    painter.setPen(color);
    painter.drawText(QPoint(rect.x(), rect.y() + fm.ascent()), text);
}

} // namespace

DisGroupUserLineLayout layoutUserLine(DisGroupUserLineContent const& content,
                                      DisBuffMetrics const& metrics, int width)
{
    DisGroupUserLineLayout layout;
    layout.height = metrics.nameFm.height();
    int const botWidth =
        content.isBot ? metrics.smallFm.horizontalAdvance(botText()) + 2 * metrics.botPadding : 0;
    int behind = 0; // what stands behind the name, with the gaps before each
    for (int part : { metrics.statusSize, metrics.textFm.horizontalAdvance(content.discriminator),
                      botWidth, metrics.smallFm.horizontalAdvance(content.time) }) {
        behind += part > 0 ? part + metrics.partGap : 0;
    }
    int const nameWidth = std::max(width - behind, metrics.minNameWidth);
    layout.nameText = metrics.nameFm.elidedText(content.name, Qt::ElideRight, nameWidth);
    int x = 0;
    layout.name = takePart(x, layout.nameText, metrics.nameFm, metrics);
    if (metrics.statusSize > 0) { // on the middle of capital letters
        int const middle = metrics.nameFm.ascent() - metrics.nameFm.capHeight() / 2;
        layout.status =
            QRect(x, middle - metrics.statusSize / 2, metrics.statusSize, metrics.statusSize);
        x += metrics.statusSize + metrics.partGap;
    }
    layout.discriminator = takePart(x, content.discriminator, metrics.textFm, metrics);
    if (botWidth > 0) {
        int const top = metrics.nameFm.ascent() - metrics.smallFm.ascent();
        layout.bot = QRect(x, top, botWidth, metrics.smallFm.height());
        x += botWidth + metrics.partGap;
    }
    layout.time = takePart(x, content.time, metrics.smallFm, metrics);
    return layout;
}

void paintUserLine(QPainter& painter, DisGroupUserLineLayout const& layout,
                   DisGroupUserLineContent const& content, DisBuffStyle const& style)
{
    DisBuffMetrics const& m = style.metrics;
    DisBuffTheme const& t = style.theme;
    drawPart(painter, layout.name, layout.nameText, m.nameFont, m.nameFm,
             content.nameColor.isValid() ? content.nameColor : t.name);
    if (!layout.status.isEmpty()) {
        size_t const status = std::min(static_cast<size_t>(content.status), // from the store
                                       t.statusCircles.size() - 1);
        painter.drawPixmap(layout.status.topLeft(), t.statusCircles[status]);
    }
    drawPart(painter, layout.discriminator, content.discriminator, m.textFont, m.textFm, t.dim);
    if (!layout.bot.isEmpty()) {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(t.botBackground);
        painter.drawRoundedRect(layout.bot, m.botRadius, m.botRadius);
        drawPart(painter, layout.bot.adjusted(m.botPadding, 0, 0, 0), botText(), m.smallFont,
                 m.smallFm, t.botText);
    }
    drawPart(painter, layout.time, content.time, m.smallFont, m.smallFm, t.timestamp);
}

DisGroupUserLinePart hitUserLine(DisGroupUserLineLayout const& layout, QPoint const& pos)
{
    struct PartRect {
        DisGroupUserLinePart part;
        QRect rect;
    };
    PartRect const parts[] = {
        { DisGroupUserLinePart::Name, layout.name },
        { DisGroupUserLinePart::Discriminator, layout.discriminator },
        { DisGroupUserLinePart::Bot, layout.bot },
        { DisGroupUserLinePart::Time, layout.time },
    };
    for (PartRect const& part : parts) {
        if (part.rect.contains(pos)) {
            return part.part;
        }
    }
    return DisGroupUserLinePart::None;
}

DisGroupUserLine::DisGroupUserLine(DisBuffStyle const& style, QWidget* parent)
    : QWidget(parent)
    , m_style(style)
{
}

DisGroupUserLine::~DisGroupUserLine() = default;

void DisGroupUserLine::setParams(Params const& params)
{
    assign(m_content.name, params.name);
    assign(m_content.discriminator, params.discriminator);
    assign(m_content.time, params.time);
    assign(m_content.fullDate, params.fullDate);
    assign(m_content.nameColor, params.nameColor);
    assign(m_content.status, params.status);
    assign(m_content.isBot, params.isBot);
    m_layoutWidth = -1;
    update();
}

void DisGroupUserLine::styleChanged()
{
    m_layoutWidth = -1;
    update();
}

int DisGroupUserLine::lineHeight() const
{
    return m_style.metrics.nameFm.height();
}

bool DisGroupUserLine::event(QEvent* event)
{
    if (event->type() == QEvent::ToolTip) {
        auto* help = static_cast<QHelpEvent*>(event);
        bool const onTime = hitUserLine(layoutNow(), help->pos()) == DisGroupUserLinePart::Time;
        QToolTip::showText(help->globalPos(), onTime ? m_content.fullDate : QString(), this);
        return true;
    }
    return QWidget::event(event);
}

void DisGroupUserLine::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    paintUserLine(painter, layoutNow(), m_content, m_style);
}

DisGroupUserLineLayout const& DisGroupUserLine::layoutNow()
{
    if (m_layoutWidth != width()) {
        m_layoutWidth = width();
        m_layout = layoutUserLine(m_content, m_style.metrics, m_layoutWidth);
    }
    return m_layout;
}

// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "text_notif.h"

#include <QFontMetrics>
#include <QPainter>
#include <QWidget>

#include <algorithm>

namespace {

// Far beyond what the lines can hold, so that a wall of text costs no more to lay out.
constexpr int maxShownLength = 4096; // code units
constexpr int maxLines = 12;

// Every kind of break as the layout knows it, or as a blank.
QString shownText(QString const& text, bool multiline)
{
    QString shown = text.left(maxShownLength).trimmed();
    shown.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    for (QChar& c : shown) {
        bool const breaks =
            c == u'\n' || c == u'\r' || c == QChar::ParagraphSeparator || c == QChar::LineSeparator;
        if (breaks)
            c = multiline ? QChar(QChar::LineSeparator) : QChar(u' ');
        else if (c.category() == QChar::Other_Control)
            c = u' ';
    }
    return shown;
}

// Lays out up to so many lines from the top; returns how much of the text is on them.
int layoutLines(QTextLayout& layout, int width, int lineHeight, int lines)
{
    int behind = 0;
    layout.beginLayout();
    for (int i = 0; i < lines; ++i) {
        QTextLine line = layout.createLine();
        if (!line.isValid())
            break;
        line.setLineWidth(width);
        line.setPosition({ 0, qreal(i * lineHeight) });
        behind = line.textStart() + line.textLength();
    }
    layout.endLayout();
    return behind;
}

// The layout's text with all that is behind the start of its last line in one line, cut to width.
QString withLastLineElided(QTextLayout const& layout, QFontMetrics const& fm, int width)
{
    int const start = layout.lineAt(layout.lineCount() - 1).textStart();
    QString rest = layout.text().mid(start);
    rest.replace(QChar::LineSeparator, u' ');
    return layout.text().left(start) + fm.elidedText(rest, Qt::ElideRight, width);
}

} // namespace

// --- item ---

NakTextNotifItem::NakTextNotifItem(QObject* parent)
    : NakNotifItem(parent)
{
}

NakTextNotifItem::~NakTextNotifItem() = default;

NakNotifVis* NakTextNotifItem::createVis(NakNotif::VisCtorParams const& params)
{
    return new NakTextNotifVis(params, this);
}

void NakTextNotifItem::setText(QString const& text)
{
    if (m_text == text)
        return;
    m_text = text;
    emit textChanged();
}

void NakTextNotifItem::setMultiline(bool multiline)
{
    if (m_multiline == multiline)
        return;
    m_multiline = multiline;
    emit textChanged();
}

// --- notification ---

NakTextNotif::NakTextNotif(QObject* parent)
    : QObject(parent)
    , m_item(new NakTextNotifItem(this))
{
    connect(m_item, &NakNotifItem::dismissed, this, &NakTextNotif::dismissed);
    connect(m_item, &NakNotifItem::actionTriggered, this, &NakTextNotif::actionTriggered);
    connect(m_item, &NakNotifItem::trayMessageClicked, this, &NakTextNotif::trayMessageClicked);
}

NakTextNotif::~NakTextNotif() = default;

// --- form ---

NakTextNotifVis::NakTextNotifVis(NakNotif::VisCtorParams const& params,
                                 NakTextNotifItem const* item)
    : NakNotifVis(params)
    , m_item(item)
{
    m_layout.setCacheEnabled(true);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    m_layout.setTextOption(option);
    connect(item, &NakTextNotifItem::textChanged, this, [this] {
        layoutText();
        invalidate(rect());
    });
}

NakTextNotifVis::~NakTextNotifVis() = default;

void NakTextNotifVis::widthInContainerChanged()
{
    layoutText();
}

void NakTextNotifVis::layoutText()
{
    if (!m_item)
        return;
    QFontMetrics const fm = containingWidget()->fontMetrics();
    int const side = fm.height() / 2;
    int const aboveAndBelow = fm.height() / 3;
    int const width = std::max(widthInContainer() - 2 * side, 1);
    int const lines = m_item->isMultiline() ? maxLines : 1;
    m_layout.setFont(containingWidget()->font());
    m_layout.setText(shownText(m_item->text(), m_item->isMultiline()));
    if (layoutLines(m_layout, width, fm.height(), lines) < m_layout.text().size()) {
        m_layout.setText(withLastLineElided(m_layout, fm, width));
        layoutLines(m_layout, width, fm.height(), lines);
    }
    m_textTopLeft = QPoint(side, aboveAndBelow);
    setHeight(std::max(m_layout.lineCount(), 1) * fm.height() + 2 * aboveAndBelow);
}

void NakTextNotifVis::paint(QPainter& painter, QRect const&)
{
    painter.setPen(containingWidget()->palette().color(QPalette::WindowText));
    m_layout.draw(&painter, m_textTopLeft);
}

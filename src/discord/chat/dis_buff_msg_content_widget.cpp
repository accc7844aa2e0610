// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_buff_msg_content_widget.h"

#include "dis_cache.h"
#include "dis_text_view.h"
#include "nak_open_url.h"
#include "web_image_display.h"

#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>

#include <algorithm>

// Drawn over a message, so that the frame does not move what it marks.
class DisMsgContentHighlightFrame : public QWidget {
public:
    DisMsgContentHighlightFrame(DisBuffWidgetsManager* manager, QWidget* parent)
        : QWidget(parent)
        , m_manager(manager)
    {
        setAttribute(Qt::WA_TransparentForMouseEvents);
    }

    void setType(DisBuffHighlightType type)
    {
        m_type = type;
        update();
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        DisBuffMetrics const& metrics = m_manager->style().metrics;
        DisBuffTheme const& theme = m_manager->style().theme;
        bool const editing = m_type == DisBuffHighlightType::Editing;
        double const half = metrics.highlightPen / 2.0;
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(editing ? theme.editing : theme.highlight, metrics.highlightPen,
                            editing ? Qt::DashLine : Qt::SolidLine));
        painter.setBrush(editing ? theme.editingFill : theme.highlightFill);
        painter.drawRoundedRect(QRectF(rect()).adjusted(half, half, -half, -half),
                                metrics.highlightRadius, metrics.highlightRadius);
    }

private:
    DisBuffWidgetsManager* m_manager;
    DisBuffHighlightType m_type = DisBuffHighlightType::None;
};

namespace {

constexpr char originalUrlProperty[] = "original_url";

// What a message has, for its layout.
struct MsgParts {
    DisTextView const* textView; // null when there is no text
    QVector<QSize> const& pictures;
    QVector<DisBuffNote> const& notes;
};

// Returns where the next part begins.
int layoutPictures(DisBuffMsgLayout& layout, QVector<QSize> const& pictures,
                   DisBuffMetrics const& metrics, int width, int y)
{
    for (QSize size : pictures) {
        if (size.width() > width) {
            size.scale(width, size.height(), Qt::KeepAspectRatio);
        }
        y += metrics.pictureGap;
        layout.pictures.append(
            QRect(QPoint(metrics.contentInset, y), size.expandedTo(QSize(1, 1))));
        y += size.height() + metrics.pictureGap;
    }
    return y;
}

DisBuffMsgLayout layoutMsgContent(MsgParts const& parts, DisBuffMetrics const& metrics, int width)
{
    DisBuffMsgLayout layout;
    layout.width = width;
    int const left = metrics.contentInset;
    int const textWidth = std::max(1, width - 2 * left - metrics.timeColumn);
    int y = 0;
    if (parts.textView) {
        layout.text = QRect(left, 0, textWidth, parts.textView->heightForWidth(textWidth));
        y = layout.text.height();
    }
    y = layoutPictures(layout, parts.pictures, metrics, textWidth, y);
    for (DisBuffNote const& note : parts.notes) {
        y += metrics.noteGap;
        layout.notes.append({ QRect(left, y, textWidth, metrics.textFm.height()),
                              metrics.textFm.elidedText(note.text, Qt::ElideRight, textWidth),
                              note.url });
        y += metrics.textFm.height();
    }
    layout.height = std::max(y, metrics.textFm.height());
    if (metrics.timeColumn > 0) {
        layout.time = QRect(left + textWidth, 0, metrics.timeColumn, metrics.textFm.height());
    }
    return layout;
}

// A tool tip shows what looks like markup as markup, which a name is not.
QString toolTipOf(QString const& name)
{
    return name.isEmpty() ? QString()
                          : QStringLiteral("<p>") + name.toHtmlEscaped() + QStringLiteral("</p>");
}

// The address that a press there opens; empty if none.
QUrl hitNote(DisBuffMsgLayout const& layout, QPoint const& pos, QFontMetrics const& fm)
{
    for (DisBuffMsgLayout::Note const& note : layout.notes) {
        if (note.rect.contains(pos) && pos.x() < note.rect.x() + fm.horizontalAdvance(note.text)) {
            return note.url;
        }
    }
    return {};
}

void paintNotes(QPainter& painter, DisBuffMsgLayout const& layout, DisBuffStyle const& style)
{
    painter.setFont(style.metrics.textFont);
    painter.setPen(style.theme.dim);
    for (DisBuffMsgLayout::Note const& note : layout.notes) {
        painter.drawText(note.rect, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                         note.text);
    }
}

void paintTime(QPainter& painter, DisBuffMsgLayout const& layout, QString const& text,
               DisBuffStyle const& style)
{
    painter.setFont(style.metrics.smallFont);
    painter.setPen(style.theme.timestamp);
    painter.drawText(layout.time, Qt::AlignRight | Qt::AlignVCenter | Qt::TextSingleLine, text);
}

} // namespace

DisBuffMsgContentWidget::DisBuffMsgContentWidget(DisBuffWidgetsManager* manager)
    : m_manager(manager)
    , m_textView(new DisTextView(this))
{
    m_textView->installEventFilter(this);
}

DisBuffMsgContentWidget::~DisBuffMsgContentWidget() = default;

void DisBuffMsgContentWidget::setContents(FlakeId channelId, DisBuffItem const& item)
{
    m_item = item;
    DisBuffContent const content = m_manager->loadContent(item);
    m_notes = content.notes;
    m_hasText = (m_notes.isEmpty() && content.pictures.isEmpty()) || !content.text.isEmpty()
        || content.mode != DisText::ContentMode::Normal;
    showPictures(content.pictures);
    m_textView->setDisplayAsPending(item.isPending());
    m_textView->setFromParams(content.text, DisCache::guildIdOfChannel(channelId), content.mode);
    m_textView->setVisible(m_hasText);
    m_timeText.clear();
    if (m_manager->style().metrics.timeOnEachMessage) {
        m_timeText = DisBuffStyles::clockText(item.timestamp);
    }
    m_layout = DisBuffMsgLayout();
    if (isVisible()) {
        placeParts();
    }
    updateGeometry();
    update();
}

void DisBuffMsgContentWidget::setHighlight(DisBuffHighlightType type)
{
    if (type == m_highlight) {
        return;
    }
    m_highlight = type;
    if (type == DisBuffHighlightType::None) {
        m_frame->hide();
        return;
    }
    if (!m_frame) {
        m_frame = new DisMsgContentHighlightFrame(m_manager, this);
    }
    m_frame->setType(type);
    m_frame->setGeometry(rect());
    m_frame->raise();
    m_frame->show();
}

bool DisBuffMsgContentWidget::textSelectionEnabled() const
{
    return m_textView->textSelectionEnabled();
}

void DisBuffMsgContentWidget::setTextSelectionEnabled(bool enabled)
{
    if (enabled != textSelectionEnabled()) {
        m_textView->setTextSelectionEnabled(enabled);
    }
}

void DisBuffMsgContentWidget::clearTextSelection()
{
    m_textView->clearTextSelection();
}

QString DisBuffMsgContentWidget::selectedPlainText() const
{
    return m_textView->selectedPlainText();
}

void DisBuffMsgContentWidget::clearResourcesOnly()
{
    m_textView->clearTextSelection();
    m_textView->document()->clearResourcesOnly();
    showPictures({});
}

void DisBuffMsgContentWidget::showPictures(QVector<DisBuffPicture> const& pictures)
{
    m_pictureSizes.resize(0);
    for (int i = 0; i < pictures.size(); ++i) {
        if (i == m_displays.size()) {
            m_displays.append(new NakWebImageDisplay(this));
            m_displays.last()->installEventFilter(this);
            m_displays.last()->setCursor(Qt::PointingHandCursor);
        }
        DisBuffPicture const& picture = pictures.at(i);
        NakWebImageDisplay* display = m_displays.at(i);
        display->setParams(picture.source, picture.size, picture.size);
        display->setProperty(originalUrlProperty, picture.original);
        display->setToolTip(toolTipOf(picture.name));
        display->show();
        m_pictureSizes.append(picture.size);
    }
    for (int i = pictures.size(); i < m_displays.size(); ++i) {
        m_displays.at(i)->clear();
        m_displays.at(i)->hide();
    }
}

int DisBuffMsgContentWidget::heightForWidth(int width) const
{
    if (m_layout.width != width) {
        m_layout = layoutMsgContent({ m_hasText ? m_textView : nullptr, m_pictureSizes, m_notes },
                                    m_manager->style().metrics, width);
    }
    return m_layout.height;
}

bool DisBuffMsgContentWidget::event(QEvent* event)
{
    if (event->type() == QEvent::LayoutRequest) {
        layoutRequested();
        return true;
    }
    if (event->type() == QEvent::ToolTip) {
        auto* help = static_cast<QHelpEvent*>(event);
        if (m_layout.time.contains(help->pos())) {
            QToolTip::showText(help->globalPos(), DisBuffStyles::fullDateText(m_item.timestamp),
                               this);
            return true;
        }
    }
    return QWidget::event(event);
}

bool DisBuffMsgContentWidget::eventFilter(QObject* watched, QEvent* event)
{
    // While text is selected with the mouse the text keeps its presses, and the message still
    // becomes the one that is copied from.
    if (event->type() == QEvent::MouseButtonPress) {
        auto* mouse = static_cast<QMouseEvent*>(event);
        if (mouse->button() == Qt::LeftButton && textSelectionEnabled()) {
            act(DisBuffMsgAction::Type::Select, mouse->globalPos());
        } else if (mouse->button() == Qt::LeftButton && watched != m_textView) {
            NakOpenUrl::open(watched->property(originalUrlProperty).toUrl());
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void DisBuffMsgContentWidget::paintEvent(QPaintEvent*)
{
    if (m_layout.notes.isEmpty() && m_layout.time.isEmpty()) {
        return;
    }
    QPainter painter(this);
    paintNotes(painter, m_layout, m_manager->style());
    if (!m_layout.time.isEmpty()) {
        paintTime(painter, m_layout, m_timeText, m_manager->style());
    }
}

void DisBuffMsgContentWidget::resizeEvent(QResizeEvent*)
{
    placeParts();
}

void DisBuffMsgContentWidget::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        event->ignore(); // the middle button scrolls the buffer
        return;
    }
    QUrl const url = hitNote(m_layout, event->pos(), m_manager->style().metrics.textFm);
    if (!url.isEmpty() && !textSelectionEnabled()) {
        NakOpenUrl::open(url);
        return;
    }
    act(textSelectionEnabled() ? DisBuffMsgAction::Type::Select : DisBuffMsgAction::Type::Click,
        event->globalPos());
}

void DisBuffMsgContentWidget::contextMenuEvent(QContextMenuEvent* event)
{
    act(DisBuffMsgAction::Type::ContextMenu, event->globalPos());
}

void DisBuffMsgContentWidget::act(DisBuffMsgAction::Type type, QPoint const& globalPos)
{
    emit m_manager->messageAction(this, { type, globalPos });
}

void DisBuffMsgContentWidget::placeParts()
{
    heightForWidth(width());
    if (m_hasText) {
        m_textView->setGeometry(m_layout.text);
    }
    for (int i = 0; i < m_layout.pictures.size(); ++i) {
        m_displays.at(i)->setGeometry(m_layout.pictures.at(i));
    }
    if (m_frame) {
        m_frame->setGeometry(rect());
    }
}

// A text tells of a new height in this way, after it was filled again; but it also does so when it
// is only given the height that it asked for.
void DisBuffMsgContentWidget::layoutRequested()
{
    int const before = m_layout.height;
    int const layoutWidth = m_layout.width;
    m_layout.width = -1;
    if (layoutWidth < 0 || heightForWidth(layoutWidth) == before) {
        return;
    }
    placeParts();
    updateGeometry();
}

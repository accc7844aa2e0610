// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_chat_input_text_edit.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QTextBlock>

#include <algorithm>

namespace {

// Leaves room for the caret and no more: the box is as high as its lines.
constexpr int textMargin = 1;
constexpr int sideMargin = 4;

} // namespace

DisChatInputTextEdit::DisChatInputTextEdit(QWidget* parent)
    : QPlainTextEdit(parent)
{
    setFrameShape(QFrame::NoFrame);
    document()->setDocumentMargin(textMargin);
    setViewportMargins(sideMargin, 0, 0, 0);
    setBackgroundRole(QPalette::Base); // the margin belongs to the box
    setAutoFillBackground(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setLineWrapMode(QPlainTextEdit::WidgetWidth);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    // The part of the box that a text change repaints is smaller than the hint.
    connect(this, &QPlainTextEdit::textChanged, viewport(), qOverload<>(&QWidget::update));
}

DisChatInputTextEdit::~DisChatInputTextEdit() = default;

void DisChatInputTextEdit::setVisualHintMode(VisualHintMode mode)
{
    if (mode == m_hintMode) {
        return;
    }
    m_hintMode = mode;
    updateHintColors();
}

void DisChatInputTextEdit::setHintText(QString const& text)
{
    m_hintText = text;
    viewport()->update();
}

bool DisChatInputTextEdit::endsInsideFence(QString const& text)
{
    QLatin1String const fence("```");
    int count = 0;
    for (int at = text.indexOf(fence); at >= 0; at = text.indexOf(fence, at + fence.size())) {
        count += at == 0 || text.at(at - 1) != QLatin1Char('\\') ? 1 : 0;
    }
    return count % 2 == 1;
}

int DisChatInputTextEdit::countCodePoints(QString const& text)
{
    return static_cast<int>(
        std::count_if(text.cbegin(), text.cend(), [](QChar c) { return !c.isHighSurrogate(); }));
}

void DisChatInputTextEdit::paintEvent(QPaintEvent* event)
{
    QPlainTextEdit::paintEvent(event);
    if (m_hintText.isEmpty() || !isEmptyDocument()) {
        return;
    }
    int const margin = cursorWidth() + textMargin;
    QRect const rect = viewport()->rect().adjusted(margin, textMargin, -margin, 0);
    QPainter painter(viewport());
    painter.setPen(palette().color(QPalette::Disabled, QPalette::Text));
    painter.drawText(rect, Qt::AlignLeft | Qt::AlignTop | Qt::TextSingleLine,
                     fontMetrics().elidedText(m_hintText, Qt::ElideRight, rect.width()));
}

void DisChatInputTextEdit::keyPressEvent(QKeyEvent* event)
{
    if (handleKey(event)) {
        event->accept();
        return;
    }
    QPlainTextEdit::keyPressEvent(event);
}

// True for a key that ends here.
bool DisChatInputTextEdit::handleKey(QKeyEvent* event)
{
    bool const empty = isEmptyDocument();
    switch (event->key()) {
    case Qt::Key_Escape:
        emit pressedEscape();
        return true;
    case Qt::Key_Up:
        if (empty) {
            emit pressedUpWithNoContent();
        }
        return empty;
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
    case Qt::Key_End:
        if (empty) {
            emit scrollKeyPressed(event->key());
        }
        return empty;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        return handleEnter(event);
    case Qt::Key_Tab:
        return !(event->modifiers() & Qt::ControlModifier); // inserts nothing
    default:
        break;
    }
    if (event->matches(QKeySequence::Copy) && !textCursor().hasSelection()) {
        emit pressedCopyWithNoSelection();
        return true;
    }
    return false;
}

bool DisChatInputTextEdit::handleEnter(QKeyEvent* event)
{
    bool const shift = event->modifiers() & Qt::ShiftModifier;
    if (!shift && isEmptyDocument()) {
        return true;
    }
    if (shift || (m_fenceAwareEnter && endsInsideFence(textToCursor()))) {
        textCursor().insertBlock();
        ensureCursorVisible();
        return true;
    }
    emit messageSubmitted(toPlainText());
    return true;
}

void DisChatInputTextEdit::changeEvent(QEvent* event)
{
    QPlainTextEdit::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        updateHintColors();
    }
}

// A document counts the end of its last paragraph as a character.
bool DisChatInputTextEdit::isEmptyDocument() const
{
    return document()->characterCount() < 2;
}

QString DisChatInputTextEdit::textToCursor() const
{
    QTextCursor cursor = textCursor();
    cursor.setPosition(cursor.position());
    cursor.movePosition(QTextCursor::Start, QTextCursor::KeepAnchor);
    // The document separates paragraphs by a character of its own, which no fence contains.
    return cursor.selectedText();
}

// While a message is edited the box has the ground of alternating rows.
void DisChatInputTextEdit::updateHintColors()
{
    if (m_updatingColors) {
        return;
    }
    m_updatingColors = true;
    QPalette const application = QGuiApplication::palette();
    QPalette colors;
    if (m_hintMode == VisualHintMode::EditingMessage) {
        colors.setColor(QPalette::Base, application.color(QPalette::AlternateBase));
    }
    setPalette(colors);
    m_updatingColors = false;
}

// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "vari_chat_input_handler.h"

#include <QEvent>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QSplitter>
#include <QTextBlock>
#include <QTextLayout>

#include <algorithm>

namespace {

// One height for what a key press changes in several steps.
constexpr int delayMSecs = 5;

} // namespace

VariChatInputHandler::VariChatInputHandler(QPlainTextEdit* edit)
    : QObject(edit)
    , m_edit(edit)
{
    m_timer.setSingleShot(true);
    m_timer.setInterval(delayMSecs);
    connect(&m_timer, &QTimer::timeout, this, &VariChatInputHandler::updateHeight);
    connect(m_edit, &QPlainTextEdit::textChanged, &m_timer, qOverload<>(&QTimer::start));
    m_edit->installEventFilter(this);
}

VariChatInputHandler::~VariChatInputHandler() = default;

void VariChatInputHandler::setMetrics(int lineHeight, int extra)
{
    m_lineHeight = std::max(1, lineHeight);
    m_extra = extra;
    updateHeight();
}

void VariChatInputHandler::updateHeight()
{
    int const lines = countLines();
    int const height = std::min(lines, maxLines) * m_lineHeight + m_extra;
    bool const scrolls = lines > maxLines;
    m_edit->setVerticalScrollBarPolicy(scrolls ? Qt::ScrollBarAlwaysOn : Qt::ScrollBarAlwaysOff);
    if (!scrolls) {
        m_edit->verticalScrollBar()->setValue(0);
    }
    if (m_edit->minimumHeight() != height || m_edit->maximumHeight() != height) {
        m_edit->setFixedHeight(height);
        giveRestToOthers(height);
    }
}

// A splitter that is told of a new fixed height shrinks the part, and leaves the rest empty.
void VariChatInputHandler::giveRestToOthers(int height)
{
    auto* splitter = qobject_cast<QSplitter*>(m_edit->parentWidget());
    int const index = splitter ? splitter->indexOf(m_edit) : -1;
    if (index < 1) {
        return;
    }
    QList<int> sizes = splitter->sizes();
    sizes[index - 1] += sizes[index] - height;
    sizes[index] = height;
    splitter->setSizes(sizes);
}

bool VariChatInputHandler::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Resize && m_edit->width() != m_lastWidth) {
        m_lastWidth = m_edit->width();
        m_timer.start();
    }
    return QObject::eventFilter(watched, event);
}

// Of the laid-out text, up to one more than are shown: a long paste is not laid out for a count.
int VariChatInputHandler::countLines() const
{
    QAbstractTextDocumentLayout* layout = m_edit->document()->documentLayout();
    int lines = 0;
    for (QTextBlock block = m_edit->document()->begin(); block.isValid() && lines <= maxLines;
         block = block.next()) {
        layout->blockBoundingRect(block); // lays the block out if it is not
        lines += std::max(1, block.layout()->lineCount());
    }
    return std::max(1, lines);
}

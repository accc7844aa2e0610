// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings_key_field.h"

#include <QAction>
#include <QKeyEvent>
#include <QKeySequence>
#include <QStyle>

namespace {

constexpr int fieldChars = 20;

bool isModifier(int key)
{
    constexpr int modifiers[] = { Qt::Key_Shift, Qt::Key_Control, Qt::Key_Alt, Qt::Key_AltGr,
                                  Qt::Key_Meta };
    return std::find(std::begin(modifiers), std::end(modifiers), key) != std::end(modifiers);
}

// Shift made the "!" of a "1", and stands for itself beside a letter only.
bool isShiftInKey(QString const& text)
{
    return !text.isEmpty() && text.at(0).isPrint() && !text.at(0).isLetter()
        && !text.at(0).isSpace();
}

QKeySequence pressedKeys(QKeyEvent const& event)
{
    Qt::KeyboardModifiers modifiers = event.modifiers()
        & (Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier);
    if (isShiftInKey(event.text()))
        modifiers &= ~Qt::ShiftModifier;
    return QKeySequence(static_cast<int>(modifiers) | event.key());
}

} // namespace

NakSettingsKeyField::NakSettingsKeyField(QWidget* parent)
    : QLineEdit(parent)
    , m_clear(addAction(style()->standardIcon(QStyle::SP_LineEditClearButton), TrailingPosition))
{
    setReadOnly(true);
    setContextMenuPolicy(Qt::NoContextMenu);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setPlaceholderText(tr("Press a key"));
    m_clear->setToolTip(tr("No key"));
    m_clear->setVisible(false);
    connect(m_clear, &QAction::triggered, this, [this] { choose(QString()); });
}

void NakSettingsKeyField::setKey(QString const& portable)
{
    QKeySequence const keys(portable, QKeySequence::PortableText);
    setText(QKeySequence(keys[0]).toString(QKeySequence::NativeText));
    m_clear->setVisible(!text().isEmpty());
}

QSize NakSettingsKeyField::sizeHint() const
{
    return { fontMetrics().averageCharWidth() * fieldChars, QLineEdit::sizeHint().height() };
}

// What is a shortcut elsewhere is a key to choose here.
bool NakSettingsKeyField::event(QEvent* event)
{
    if (event->type() == QEvent::ShortcutOverride)
        event->accept();
    return event->type() == QEvent::ShortcutOverride || QLineEdit::event(event);
}

void NakSettingsKeyField::keyPressEvent(QKeyEvent* event)
{
    bool const isPlain = event->modifiers() == Qt::NoModifier;
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Escape:
    case Qt::Key_Tab: // with Ctrl, to another page
    case Qt::Key_Backtab:
        event->ignore(); // for the window
        return;
    case Qt::Key_Backspace:
    case Qt::Key_Delete:
        if (isPlain)
            return choose(QString());
        break;
    default:
        break;
    }
    if (event->key() != Qt::Key_unknown && event->key() != 0 && !isModifier(event->key()))
        choose(pressedKeys(*event).toString(QKeySequence::PortableText));
}

void NakSettingsKeyField::choose(QString const& portable)
{
    setKey(portable);
    emit keyChosen(portable);
}

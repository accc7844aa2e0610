// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "event_log_find_bar.h"

#include "event_log_find.h"
#include "event_log_view.h"
#include "nakwire_style.h"
#include "shell_icons.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPainter>
#include <QToolButton>

namespace {

constexpr int maxNeedleChars = 200;
constexpr int spacing = 6;

} // namespace

NakEventLogFindBar::NakEventLogFindBar(NakEventLogFind* find, NakEventLogView* view,
                                       QWidget* parent)
    : QWidget(parent)
    , m_find(find)
    , m_view(view)
    , m_field(new QLineEdit(this))
    , m_count(new QLabel(this))
{
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(spacing, spacing, spacing, spacing);
    layout->setSpacing(spacing);
    layout->addWidget(m_field, 1);
    layout->addWidget(m_count);
    makeButton(NakShell::upGlyph, QStringLiteral("Find Previous (Shift+Return)"),
               [this] { step(false); });
    makeButton(NakShell::downGlyph, QStringLiteral("Find Next (Return)"), [this] { step(true); });
    makeButton(NakShell::closeGlyph, QStringLiteral("Close (Escape)"), [this] { close(); });
    m_field->setPlaceholderText(QStringLiteral("Find in messages"));
    m_field->setMaxLength(maxNeedleChars);
    m_field->installEventFilter(this);
    m_count->setTextFormat(Qt::PlainText);
    m_count->setObjectName(QStringLiteral("found"));
    connect(m_field, &QLineEdit::textChanged, this, &NakEventLogFindBar::startFinding);
    connect(m_find, &NakEventLogFind::changed, this, &NakEventLogFindBar::onFound);
    connect(m_view, &NakEventLogView::currentChanged, this,
            [this] { m_count->setText(countText()); });
    hide();
}

void NakEventLogFindBar::makeButton(ushort glyph, QString const& tip,
                                    std::function<void()> const& effect)
{
    auto* const button = new QToolButton(this);
    button->setAutoRaise(true);
    button->setIcon(NakShell::icon(glyph));
    button->setToolTip(tip);
    button->setAccessibleName(tip);
    button->setFocusPolicy(Qt::TabFocus);
    connect(button, &QToolButton::clicked, this, effect);
    layout()->addWidget(button);
}

void NakEventLogFindBar::open()
{
    bool const wasHidden = isHidden();
    show();
    m_field->setFocus(Qt::ShortcutFocusReason);
    m_field->selectAll();
    if (wasHidden && !m_field->text().isEmpty())
        startFinding(m_field->text());
}

void NakEventLogFindBar::close()
{
    m_find->setNeedle(QString());
    m_view->setNeedle(QString());
    m_view->setFocus(Qt::OtherFocusReason);
    hide();
}

void NakEventLogFindBar::step(bool down)
{
    if (isHidden() || m_find->needle().isEmpty()) {
        open();
        return;
    }
    int const from = m_view->currentRow();
    int const row = m_find->rowFrom(from < 0 ? 0 : from + (down ? 1 : -1), down);
    if (row >= 0)
        m_view->setCurrentRow(row);
}

bool NakEventLogFindBar::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::KeyPress)
        return QWidget::eventFilter(watched, event);
    auto const* const press = static_cast<QKeyEvent*>(event);
    switch (press->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        step(!press->modifiers().testFlag(Qt::ShiftModifier));
        return true;
    case Qt::Key_Escape:
        close();
        return true;
    default:
        return QWidget::eventFilter(watched, event);
    }
}

void NakEventLogFindBar::paintEvent(QPaintEvent*)
{
    QPainter(this).fillRect(0, 0, width(), 1, NakwireStyle::lineColor(palette()));
}

// From where the user is; a needle that grows stays at its find as long as that still fits.
void NakEventLogFindBar::startFinding(QString const& needle)
{
    int const current = m_view->currentRow();
    m_origin = std::max(0, current < 0 ? m_view->rowAt(QPoint(0, 0)) : current);
    m_view->setNeedle(needle);
    m_find->setNeedle(needle);
}

void NakEventLogFindBar::onFound()
{
    int const row = m_origin < 0 ? -1 : m_find->rowFrom(m_origin, true);
    // One above the origin will do only when there is none below.
    if (row >= 0 && (row >= m_origin || m_find->isComplete())) {
        m_origin = -1;
        m_view->setCurrentRow(row);
    }
    m_count->setText(countText());
}

QString NakEventLogFindBar::countText() const
{
    if (m_find->needle().isEmpty())
        return {};
    QString const more = m_find->isComplete() ? QString() : QStringLiteral("…");
    QString const count = QLocale().toString(m_find->count()) + more;
    if (int const number = m_find->numberOf(m_view->currentRow()))
        return QStringLiteral("%1 of %2").arg(QLocale().toString(number), count);
    if (m_find->count() == 0 && m_find->isComplete())
        return QStringLiteral("Not found");
    return QStringLiteral("%1 found").arg(count);
}

// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_text_view.h"

#include "dis_text_formats.h"
#include "dis_text_images.h"
#include "nak_open_url.h"

#include <QAbstractTextDocumentLayout>
#include <QAccessibleWidget>
#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QMenu>
#include <QPainter>
#include <QPainterPath>
#include <QTextBlock>
#include <QTextCursor>
#include <QTimer>
#include <QToolTip>
#include <QUrl>

#include <algorithm>
#include <cmath>

namespace {

constexpr qreal pendingOpacity = 0.6;
constexpr qreal codeBlockRadius = 3.0;
constexpr int unknownWidth = -1;

class TextViewAccessible : public QAccessibleWidget {
public:
    explicit TextViewAccessible(DisTextView* view)
        : QAccessibleWidget(view, QAccessible::StaticText)
    {
    }

    QString text(QAccessible::Text kind) const override
    {
        if (kind == QAccessible::Name) {
            QTextDocument const& document = *static_cast<DisTextView*>(widget())->document();
            return DisText::plainTextOf(document, 0, document.characterCount());
        }
        return QAccessibleWidget::text(kind);
    }
};

QAccessibleInterface* makeAccessible(QString const&, QObject* object)
{
    auto* const view = qobject_cast<DisTextView*>(object);
    return view == nullptr ? nullptr : new TextViewAccessible(view);
}

void installAccessibleOnce()
{
    static bool const installed = [] {
        QAccessible::installFactory(makeAccessible);
        return true;
    }();
    Q_UNUSED(installed)
}

bool isWebLink(QString const& anchor)
{
    return anchor.startsWith(QLatin1String("http"));
}

} // namespace

struct DisTextView::Impl {
    DisTextView* view;
    DisTextDocument* document;

    QString text;
    FlakeId guildId;
    DisText::ContentMode::Type mode = DisText::ContentMode::Normal;

    int width = unknownWidth;
    bool pending = false;

    bool selectable = false;
    bool dragging = false;
    bool wordDragging = false;
    int anchor = -1; // position in the document at which the drag began
    QTextCursor cursor; // null: no selection
    QTextCharFormat selectionFormat;
    QTimer* tripleClickTimer = nullptr; // runs for the time in which a press makes a triple click

    void reapplyTextParams();
    void layOutForWidth(int newWidth);
    void fixHeight();
    int documentHeight() const { return static_cast<int>(document->size().height()); }

    void dropSelection();
    void paintCodeBackgrounds(QPainter& painter) const;
    int positionAt(QPoint const& pos) const;
    void beginSelection(QPoint const& pos);
    void selectAll();
    void extendSelection(QPoint const& pos);
    void startTripleClickTimer();
    void selectionModified();
};

void DisTextView::Impl::reapplyTextParams()
{
    dropSelection();
    selectionFormat = g_disTextDocumentManager->selectionFormat();
    document->setFromParams({ QStringRef(&text), guildId, mode });
    if (width != unknownWidth) {
        fixHeight();
    }
    view->update();
}

// Setting the width lays out again even if it is the same.
void DisTextView::Impl::layOutForWidth(int newWidth)
{
    if (document->textWidth() != newWidth) {
        document->setTextWidth(newWidth);
    }
}

void DisTextView::Impl::fixHeight()
{
    int const height = documentHeight();
    if (view->minimumHeight() != height || view->maximumHeight() != height) {
        view->setFixedHeight(height);
    }
}

DisTextView::DisTextView(QWidget* parent)
    : QWidget(parent)
    , m_impl(std::make_unique<Impl>())
{
    installAccessibleOnce();
    m_impl->view = this;
    m_impl->document = g_disTextDocumentManager->takeTextDocument(this);
    setMouseTracking(true);
    connect(m_impl->document, &DisTextDocument::needsReparse, this,
            [this] { m_impl->reapplyTextParams(); });
    connect(m_impl->document, &DisTextDocument::needsRepaintOnly, this, [this] { update(); });
}

DisTextView::~DisTextView()
{
    m_impl->cursor = QTextCursor();
    m_impl->document->disconnect(this);
    m_impl->document->release();
}

void DisTextView::setFromParams(QString const& text, FlakeId guildId,
                                DisText::ContentMode::Type mode)
{
    m_impl->text = text;
    m_impl->guildId = guildId;
    m_impl->mode = mode;
    m_impl->reapplyTextParams();
}

DisTextDocument* DisTextView::document() const
{
    return m_impl->document;
}

bool DisTextView::displayAsPending() const
{
    return m_impl->pending;
}

void DisTextView::setDisplayAsPending(bool pending)
{
    if (m_impl->pending != pending) {
        m_impl->pending = pending;
        update();
    }
}

// --- size ---

int DisTextView::heightForWidth(int width) const
{
    m_impl->layOutForWidth(width);
    return m_impl->documentHeight();
}

QSize DisTextView::sizeHint() const
{
    return m_impl->document->size().toSize();
}

QSize DisTextView::minimumSizeHint() const
{
    return { 0, m_impl->documentHeight() };
}

void DisTextView::resizeEvent(QResizeEvent*)
{
    if (width() != m_impl->width) {
        m_impl->width = width();
        m_impl->layOutForWidth(width());
        m_impl->fixHeight();
    }
}

void DisTextView::showEvent(QShowEvent*)
{
    if (std::abs(m_impl->document->textWidth() - width()) >= 1.0) {
        m_impl->layOutForWidth(width());
        m_impl->fixHeight();
    }
}

// --- painting ---

void DisTextView::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    if (m_impl->pending) {
        painter.setOpacity(pendingOpacity);
    }
    if (m_impl->document->hasCodeBlock()) {
        m_impl->paintCodeBackgrounds(painter);
    }
    QAbstractTextDocumentLayout::PaintContext context;
    context.palette = palette();
    context.clip = event->rect();
    if (m_impl->selectable && !m_impl->cursor.isNull()) {
        context.selections.append({ m_impl->cursor, m_impl->selectionFormat });
    }
    m_impl->document->documentLayout()->draw(&painter, context);
}

// A fenced block is one text block per line, and has one ground.
void DisTextView::Impl::paintCodeBackgrounds(QPainter& painter) const
{
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(DisText::codeBackground());
    QRectF united;
    auto const paintUnited = [&] {
        if (!united.isNull()) {
            painter.drawRoundedRect(QRectF(0.0, united.top(), view->width(), united.height()),
                                    codeBlockRadius, codeBlockRadius);
            united = QRectF();
        }
    };
    QAbstractTextDocumentLayout const* layout = document->documentLayout();
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next()) {
        if (DisText::isCodeBlock(block.blockFormat())) {
            united |= layout->blockBoundingRect(block);
        } else {
            paintUnited();
        }
    }
    paintUnited();
    painter.setRenderHint(QPainter::Antialiasing, false);
}

// --- selection ---

bool DisTextView::textSelectionEnabled() const
{
    return m_impl->selectable;
}

void DisTextView::setTextSelectionEnabled(bool enabled)
{
    if (m_impl->selectable == enabled) {
        return;
    }
    m_impl->selectable = enabled;
    if (enabled) {
        setCursor(Qt::IBeamCursor);
    } else {
        unsetCursor();
        m_impl->dropSelection();
    }
}

void DisTextView::clearTextSelection()
{
    bool const had = m_impl->cursor.hasSelection();
    m_impl->dropSelection();
    if (had) {
        emit textSelectionModified();
    }
}

QString DisTextView::selectedPlainText() const
{
    QTextCursor const& cursor = m_impl->cursor;
    return cursor.isNull()
        ? QString()
        : DisText::plainTextOf(*m_impl->document, cursor.selectionStart(), cursor.selectionEnd());
}

void DisTextView::Impl::dropSelection()
{
    bool const visible = cursor.hasSelection();
    cursor = QTextCursor();
    anchor = -1;
    dragging = false;
    wordDragging = false;
    if (visible) {
        view->update();
    }
}

int DisTextView::Impl::positionAt(QPoint const& pos) const
{
    return document->documentLayout()->hitTest(pos, Qt::FuzzyHit);
}

void DisTextView::Impl::selectionModified()
{
    view->update();
    emit view->textSelectionModified();
}

void DisTextView::Impl::beginSelection(QPoint const& pos)
{
    anchor = positionAt(pos);
    dragging = anchor >= 0;
    cursor = QTextCursor();
    if (dragging) {
        cursor = QTextCursor(document);
        cursor.setPosition(anchor);
    }
    selectionModified();
}

void DisTextView::Impl::selectAll()
{
    cursor = QTextCursor(document);
    cursor.select(QTextCursor::Document);
    selectionModified();
}

void DisTextView::Impl::startTripleClickTimer()
{
    if (tripleClickTimer == nullptr) {
        tripleClickTimer = new QTimer(view);
        tripleClickTimer->setSingleShot(true);
    }
    tripleClickTimer->start(QApplication::doubleClickInterval());
}

void DisTextView::Impl::extendSelection(QPoint const& pos)
{
    QPoint const inside(qBound(0, pos.x(), view->width() - 1),
                        qBound(0, pos.y(), view->height() - 1));
    int const position = positionAt(inside);
    if (position < 0 || cursor.isNull()) {
        return;
    }
    if (wordDragging) {
        cursor.setPosition(std::min(position, anchor));
        cursor.movePosition(QTextCursor::StartOfWord);
        cursor.setPosition(std::max(position, anchor), QTextCursor::KeepAnchor);
        cursor.movePosition(QTextCursor::EndOfWord, QTextCursor::KeepAnchor);
    } else {
        cursor.setPosition(position, QTextCursor::KeepAnchor);
    }
    selectionModified();
}

// --- mouse ---

void DisTextView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        QWidget::mousePressEvent(event);
        return;
    }
    if (m_impl->selectable) {
        if (m_impl->tripleClickTimer != nullptr && m_impl->tripleClickTimer->isActive()) {
            m_impl->tripleClickTimer->stop();
            m_impl->selectAll();
        } else {
            m_impl->beginSelection(event->pos());
        }
        return;
    }
    QString const anchor = anchorAt(event->pos());
    if (anchor.isEmpty()) {
        event->ignore();
        return;
    }
    NakOpenUrl::open(QUrl(anchor));
}

void DisTextView::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (!m_impl->selectable) {
        event->ignore(); // the press has opened the link, if there is one
        return;
    }
    if (event->button() != Qt::LeftButton || m_impl->cursor.isNull()) {
        QWidget::mouseDoubleClickEvent(event);
        return;
    }
    m_impl->cursor.select(QTextCursor::WordUnderCursor);
    m_impl->dragging = true;
    m_impl->wordDragging = true;
    m_impl->startTripleClickTimer();
    m_impl->selectionModified();
}

void DisTextView::mouseMoveEvent(QMouseEvent* event)
{
    if (m_impl->selectable) {
        if (m_impl->dragging) {
            m_impl->extendSelection(event->pos());
        }
        return;
    }
    Qt::CursorShape const shape =
        anchorAt(event->pos()).isEmpty() ? Qt::ArrowCursor : Qt::PointingHandCursor;
    if (shape == Qt::PointingHandCursor) {
        if (cursor().shape() != shape) {
            setCursor(shape);
        }
    } else if (testAttribute(Qt::WA_SetCursor)) {
        unsetCursor();
    }
    event->ignore(); // the message around the text may want to know where the mouse is
}

void DisTextView::mouseReleaseEvent(QMouseEvent* event)
{
    if (!m_impl->selectable) {
        event->ignore();
        return;
    }
    m_impl->dragging = false;
    m_impl->wordDragging = false;
}

void DisTextView::leaveEvent(QEvent* event)
{
    if (!m_impl->selectable && testAttribute(Qt::WA_SetCursor)) {
        unsetCursor();
    }
    QWidget::leaveEvent(event);
}

bool DisTextView::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip || m_impl->selectable) {
        return QWidget::event(event);
    }
    auto* const help = static_cast<QHelpEvent*>(event);
    QString const name =
        m_impl->document->documentLayout()->formatAt(help->pos()).toCharFormat().toolTip();
    if (name.isEmpty()) {
        event->ignore(); // the message around the text may have something to say
        return false;
    }
    QToolTip::showText(help->globalPos(), DisText::emojiText(name), this);
    return true;
}

// --- links ---

QString DisTextView::anchorAt(QPoint const& pos) const
{
    return m_impl->document->documentLayout()->anchorAt(pos);
}

bool DisTextView::popupLinkMenu(QPoint const& pos, QPoint const& globalPos)
{
    QString const anchor = anchorAt(pos);
    if (!isWebLink(anchor)) {
        return false;
    }
    auto* const menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    QAction* const openAction = menu->addAction(tr("Open Link"));
    openAction->setEnabled(NakOpenUrl::isAllowed(QUrl(anchor)));
    connect(openAction, &QAction::triggered, menu, [anchor] { NakOpenUrl::open(QUrl(anchor)); });
    QAction* const copyAction = menu->addAction(tr("Copy Link"));
    connect(copyAction, &QAction::triggered, menu,
            [anchor] { QGuiApplication::clipboard()->setText(anchor); });
    menu->popup(globalPos);
    return true;
}

void DisTextView::contextMenuEvent(QContextMenuEvent* event)
{
    if (popupLinkMenu(event->pos(), event->globalPos())) {
        event->accept();
    } else {
        QWidget::contextMenuEvent(event);
    }
}

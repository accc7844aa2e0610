// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_chan_buff.h"

#include "buff_mid_scroll_handler.h"
#include "dis_buff_msg_content_widget.h"
#include "dis_cache.h"
#include "dis_chan_buff_p.h"
#include "dis_manager.h"
#include "global_events.h"
#include "gui_icons.h"
#include "preferences.h"
#include "zil_drag_dial.h"
#include "zil_lock_button.h"

#include <QAction>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>

namespace {

constexpr int oldestCheckDelayMSecs = 300;
constexpr ushort copyGlyph = 0xF0C5;
constexpr double widgetBottom = 1.0;
constexpr double viewBottom = 1.0;

DisBuffItemsSources sourcesOfClient()
{
    DisBuffItemsSources sources;
    sources.db = g_disClient->db();
    sources.pending = &g_disClient->pendingMessages_hack();
    sources.isUserMuted = [](FlakeId user) { return g_disManager->isUserMuted(user); };
    return sources;
}

DisBuffItemsSources withReads(DisBuffItemsSources sources, DisBuffReads* reads)
{
    sources.reads = reads;
    return sources;
}

} // namespace

DisChanBuff::Priv::Priv(DisBuffItemsSources const& sources)
    : reads(sources.db)
    , items(withReads(sources, &reads))
{
}

DisChanBuff::DisChanBuff(QWidget* parent)
    : QWidget(parent)
    , m_priv(std::make_unique<Priv>(sourcesOfClient()))
{
    buildParts();
    connectParts();
    connectSources();
    receivePreferencesChanged();
}

DisChanBuff::~DisChanBuff()
{
    // The view's widgets go back to the pools, which the buffer's own deletion then empties.
    m_priv->view->disconnect(this);
    m_priv->view->clear();
}

void DisChanBuff::buildParts()
{
    m_priv->widgets = new DisBuffWidgetsManager(
        { g_disClient->db(), &m_priv->reads, &g_disClient->pendingMessages_hack() }, this);
    m_priv->view = new ZilView(this, this);
    m_priv->view->installEventFilter(this);
    m_priv->dial = new ZilDragDial(this);
    m_priv->lockButton = new ZilLockButton(this);
    m_priv->lockButton->setEnabled(false);
    m_priv->midScroll = new BuffMidScrollHandler(m_priv->view, this);
    m_priv->emptyLabel = new QLabel(this);
    m_priv->emptyLabel->setTextFormat(Qt::PlainText);
    m_priv->emptyLabel->setAlignment(Qt::AlignCenter);
    m_priv->emptyLabel->setWordWrap(true);
    m_priv->emptyLabel->setEnabled(false); // in the colour of what is not there
    m_priv->emptyLabel->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_priv->emptyLabel->hide();
    m_priv->copyAction = new QAction(QStringLiteral("Copy Selected Message"), this);
    m_priv->copyAction->setEnabled(false);
    if (g_guiIcons) {
        m_priv->copyAction->setIcon(g_guiIcons->iconForCode(QChar(copyGlyph)));
    }
    m_priv->oldestCheckTimer.setSingleShot(true);
    m_priv->oldestCheckTimer.setInterval(oldestCheckDelayMSecs);

    auto* column = new QVBoxLayout;
    column->addWidget(m_priv->dial, 1);
    column->addWidget(m_priv->lockButton);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    row->addWidget(m_priv->view, 1);
    row->addLayout(column);
}

void DisChanBuff::connectParts()
{
    connect(m_priv->view, &ZilView::layoutChanged, this, &DisChanBuff::receiveViewLayout);
    connect(m_priv->lockButton, &ZilLockButton::pressed, this, &DisChanBuff::scrollEnd);
    connect(m_priv->dial, &ZilDragDial::movedInt, this, &DisChanBuff::updateViewWithDelta);
    connect(m_priv->midScroll, &BuffMidScrollHandler::movedInt, m_priv->dial,
            &ZilDragDial::movedInt);
    connect(&m_priv->oldestCheckTimer, &QTimer::timeout, this, &DisChanBuff::checkOldestMessage);
    connect(m_priv->widgets, &DisBuffWidgetsManager::messageAction, this, &DisChanBuff::msgAction);
    connect(m_priv->copyAction, &QAction::triggered, this, &DisChanBuff::copySelectedMessage);
}

void DisChanBuff::connectSources()
{
    connect(g_disClient, &DisClient::disChanges, this, &DisChanBuff::disChanges);
    connect(g_disClient, &DisClient::messageCreated, this, &DisChanBuff::receiveMessageCreated);
    connect(g_disClient, &DisClient::channelHistoryFetched, this,
            &DisChanBuff::receiveChannelHistoryFetched);
    connect(g_disManager, &DisManager::mutedUsersChanged, this, &DisChanBuff::ignoredUsersChanged);
    connect(g_globalEvents, &NakGlobalEvents::preferencesChanged, this,
            &DisChanBuff::receivePreferencesChanged);
}

FlakeId DisChanBuff::channelId() const
{
    return m_priv->items.channelId();
}

void DisChanBuff::setChannelId(FlakeId channelId)
{
    if (channelId == m_priv->items.channelId()) {
        return;
    }
    DisBuffReads::Scope const scope(m_priv->reads);
    m_priv->items.setChannelId(channelId);
    m_priv->nearEnd = false;
    computeContext();
    if (m_priv->items.newestSpan().isValid()) {
        pinNewest();
        startOldestCheck();
    } else {
        m_priv->view->clear();
    }
    updateEmptyLabel();
}

void DisChanBuff::computeContext()
{
    DisBuffContext context;
    context.channelId = m_priv->items.channelId();
    DisChannelType const type = context.channelId.isValid()
        ? DisCache::channelType(context.channelId)
        : DisChannelType::Unknown;
    if (type == DisChannelType::Private || type == DisChannelType::PrivateGroup) {
        context.kind = DisBuffContext::PrivateChannel;
    } else if (type == DisChannelType::GuildText) {
        context.guildId = DisCache::guildIdOfChannel(context.channelId);
        context.kind =
            context.guildId.isValid() ? DisBuffContext::GuildChannel : DisBuffContext::Unknown;
    }
    m_priv->context = context;
}

void DisChanBuff::scrollPageUp()
{
    updateViewWithDelta(height());
}

void DisChanBuff::scrollPageDown()
{
    updateViewWithDelta(-height());
}

void DisChanBuff::scrollEnd()
{
    stick();
    receiveViewLayout();
}

bool DisChanBuff::isStuckToEnd() const
{
    return m_priv->stuckToEnd;
}

void DisChanBuff::stick()
{
    m_priv->stuckToEnd = true;
    m_priv->lockButton->setEnabled(false);
}

void DisChanBuff::unstick()
{
    m_priv->stuckToEnd = false;
    m_priv->lockButton->setEnabled(true);
}

bool DisChanBuff::textSelectionEnabled() const
{
    return m_priv->textSelection;
}

void DisChanBuff::setTextSelectionEnabled(bool enabled)
{
    m_priv->textSelection = enabled;
    forEachContent([enabled](DisBuffMsgContentWidget* c) { c->setTextSelectionEnabled(enabled); });
}

QAction* DisChanBuff::copyMessageTextAction() const
{
    return m_priv->copyAction;
}

ZilView* DisChanBuff::view() const
{
    return m_priv->view;
}

DisBuffReads const& DisChanBuff::reads() const
{
    return m_priv->reads;
}

void DisChanBuff::setEmptyText(QString const& text)
{
    m_priv->emptyLabel->setText(text);
    updateEmptyLabel();
}

void DisChanBuff::updateEmptyLabel()
{
    bool const show = m_priv->view->count() == 0 && !m_priv->emptyLabel->text().isEmpty();
    if (show) {
        m_priv->emptyLabel->setGeometry(m_priv->view->geometry());
    }
    m_priv->emptyLabel->setVisible(show);
}

void DisChanBuff::invalidateItemCaches()
{
    m_priv->items.invalidate();
    m_priv->nearEnd = false;
}

// --- position ---

void DisChanBuff::pinNewest()
{
    DisBuffSpan const newest = m_priv->items.newestSpan();
    m_priv->view->adaptPivot(findOrCreateGroupWidget(newest), widgetBottom, viewBottom);
    updateEmptyLabel();
}

void DisChanBuff::receiveViewLayout()
{
    DisBuffReads::Scope const scope(m_priv->reads);
    if (m_priv->stuckToEnd && m_priv->items.newestSpan().isValid()) {
        pinNewest();
    } else {
        updateViewWithDelta(0);
    }
    startOldestCheck();
}

void DisChanBuff::updateViewWithDelta(int delta)
{
    DisBuffReads::Scope const scope(m_priv->reads);
    ZilView* view = m_priv->view;
    if (view->count() == 0) {
        if (m_priv->items.newestItem().isValid()) {
            stick();
            pinNewest();
        }
        return;
    }
    startOldestCheck();
    if (pinIfAtAnEnd(delta)) {
        return;
    }
    if (delta != 0) {
        unstick();
    }
    if (view->count() < 2) {
        view->adaptOffset(view->origin(), view->offset() + delta);
        return;
    }
    // The second item, since the first may be about to leave the view and must not be what
    // everything else is placed by.
    ZilViewItem const anchor = view->itemAt(1);
    view->adaptOffset(anchor.widget, anchor.top + delta);
}

// Everything fits, or the move would go past the newest or the oldest message.
bool DisChanBuff::pinIfAtAnEnd(int delta)
{
    ZilView* view = m_priv->view;
    bool const holdsOldest = groupIndexOf(m_priv->items.oldestSpan()) >= 0;
    bool const holdsNewest = groupIndexOf(m_priv->items.newestSpan()) >= 0;
    ZilViewItem const first = view->itemAt(0);
    ZilViewItem const last = view->itemAt(view->count() - 1);
    int const bottomTop = view->height() - last.height; // the last item's top when at the end
    bool const fits =
        holdsOldest && holdsNewest && last.top + last.height - first.top <= view->height();
    if (fits || (holdsNewest && last.top + delta <= bottomTop)) {
        view->adaptOffset(last.widget, bottomTop);
        stick();
        return true;
    }
    if (holdsOldest && first.top + delta > 0) {
        view->adaptOffset(first.widget, 0);
        return true;
    }
    return false;
}

// --- asking for older messages ---

void DisChanBuff::startOldestCheck()
{
    if (!m_priv->oldestCheckTimer.isActive()) {
        m_priv->oldestCheckTimer.start();
    }
}

bool DisChanBuff::isViewNearEndOfAvailableMessages()
{
    FlakeId const nearId = m_priv->items.nearingEndMessageId();
    if (!nearId.isValid()) {
        return false;
    }
    bool near = false;
    forEachContent([&](DisBuffMsgContentWidget const* content) {
        DisBuffItem const& item = content->buffItem();
        bool const old = !item.isPending() && !(nearId < item.id);
        near = near || (old && content->mapTo(m_priv->view, QPoint(0, content->height())).y() >= 0);
    });
    return near;
}

void DisChanBuff::checkOldestMessage()
{
    DisBuffReads::Scope const scope(m_priv->reads);
    bool const near = isViewNearEndOfAvailableMessages();
    if (near == m_priv->nearEnd) {
        return;
    }
    m_priv->nearEnd = near;
    if (near) {
        emit nearingEndOfAvailableMessagesWithOldestId(m_priv->items.oldestStoredMessageId());
    }
}

// --- events ---

bool DisChanBuff::event(QEvent* event)
{
    if (event->type() == resequenceEventType()) {
        resequence(Refill::Changed);
        return true;
    }
    return QWidget::event(event);
}

bool DisChanBuff::eventFilter(QObject* watched, QEvent* event)
{
    if (watched != m_priv->view) {
        return QWidget::eventFilter(watched, event);
    }
    switch (event->type()) {
    case QEvent::Wheel:
        m_priv->dial->injectWheelEvent(static_cast<QWheelEvent*>(event));
        event->accept();
        return true;
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
        if (static_cast<QMouseEvent*>(event)->button() == Qt::MiddleButton) {
            m_priv->midScroll->midScrollClick();
            return true;
        }
        break;
    default:
        break;
    }
    return QWidget::eventFilter(watched, event);
}

void DisChanBuff::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::StyleChange) {
        m_priv->widgets->updateStyle();
        m_priv->view->update();
    }
    QWidget::changeEvent(event);
}

void DisChanBuff::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_End:
        scrollEnd();
        break;
    case Qt::Key_PageUp:
        scrollPageUp();
        break;
    case Qt::Key_PageDown:
        scrollPageDown();
        break;
    default:
        QWidget::keyPressEvent(event);
        break;
    }
}

void DisChanBuff::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    updateEmptyLabel();
}

// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_channel_view.h"

#include "dis_cache.h"
#include "dis_chan_buff.h"
#include "dis_changes.h"
#include "dis_channel_state.h"
#include "dis_channel_view_p.h"
#include "dis_chat_input_text_edit.h"
#include "dis_client.h"
#include "dis_manager.h"
#include "dis_topic_line.h"
#include "dis_typing_status.h"
#include "dis_utils.h"
#include "global_events.h"
#include "gui_icons.h"
#include "preferences.h"
#include "vari_chat_input_handler.h"

#include <QActionGroup>
#include <QMenu>
#include <QPainter>
#include <QSplitter>
#include <QToolBar>
#include <QVBoxLayout>

namespace {

constexpr ushort arrowGlyph = 62021;
constexpr ushort textSelectionGlyph = 62022;
constexpr ushort guildChannelGlyph = 0xF292; // a number sign
constexpr ushort pairGlyph = 0xF007; // one person
constexpr ushort groupGlyph = 0xF0C0; // several
constexpr int inputExtraHeight = 3;
constexpr int typingDelayMSecs = 50;
constexpr int statusMargin = 4;

QIcon iconForGlyph(ushort glyph)
{
    return g_guiIcons ? g_guiIcons->iconForCode(QChar(glyph)) : QIcon();
}

bool isPrivate(DisChannelType type)
{
    return type == DisChannelType::Private || type == DisChannelType::PrivateGroup;
}

} // namespace

DisChannelView::DisChannelView(QWidget* parent)
    : QWidget(parent)
    , m_priv(std::make_unique<Priv>())
{
    buildParts();
    buildActions();
    connectParts();
    connectSources();
    setToolMode(DisChannelToolModeType::Arrow);
    refreshInputMetrics();
    refreshEnabled();
    refreshState();
}

DisChannelView::~DisChannelView()
{
    if (g_disManager) {
        keepUnsentText();
    }
}

void DisChannelView::buildParts()
{
    m_priv->topic = new DisTopicLine(this);
    m_priv->buffer = new DisChanBuff(this);
    m_priv->input = new DisChatInputTextEdit(this);
    m_priv->inputHeight = new VariChatInputHandler(m_priv->input);
    m_priv->splitter = new QSplitter(Qt::Vertical, this);
    m_priv->splitter->setChildrenCollapsible(false);
    m_priv->splitter->setHandleWidth(1);
    m_priv->splitter->addWidget(m_priv->buffer);
    m_priv->splitter->addWidget(m_priv->input);
    m_priv->splitter->setStretchFactor(0, 1);
    m_priv->splitter->setStretchFactor(1, 0);
    m_priv->typingTimer.setSingleShot(true);
    m_priv->typingTimer.setInterval(typingDelayMSecs);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(m_priv->topic);
    column->addWidget(m_priv->splitter, 1);
    setFocusProxy(m_priv->input);
}

void DisChannelView::buildActions()
{
    m_priv->arrowTool = new QAction(iconForGlyph(arrowGlyph), QStringLiteral("Arrow Tool"), this);
    m_priv->textSelectionTool =
        new QAction(iconForGlyph(textSelectionGlyph), QStringLiteral("Text Selection Tool"), this);
    auto* tools = new QActionGroup(this);
    for (QAction* tool : { m_priv->arrowTool, m_priv->textSelectionTool }) {
        tool->setCheckable(true);
        tools->addAction(tool);
    }
    m_priv->menu = new QMenu(QStringLiteral("&Channel"), this);
    m_priv->menu->addAction(m_priv->arrowTool);
    m_priv->menu->addAction(m_priv->textSelectionTool);
    m_priv->menu->addSeparator();
    m_priv->menu->addAction(m_priv->buffer->copyMessageTextAction());
}

void DisChannelView::connectParts()
{
    auto* input = m_priv->input;
    connect(input, &DisChatInputTextEdit::messageSubmitted, this, &DisChannelView::submitMessage);
    connect(input, &DisChatInputTextEdit::pressedUpWithNoContent, this,
            &DisChannelView::beginEditOfNewestOwnMessage);
    connect(input, &DisChatInputTextEdit::pressedEscape, this,
            &DisChannelView::cancelQuickEditMode);
    connect(input, &DisChatInputTextEdit::scrollKeyPressed, this, &DisChannelView::scrollByKey);
    connect(input, &DisChatInputTextEdit::pressedCopyWithNoSelection,
            m_priv->buffer->copyMessageTextAction(), &QAction::trigger);
    connect(input, &QPlainTextEdit::textChanged, &m_priv->typingTimer, qOverload<>(&QTimer::start));
    connect(&m_priv->typingTimer, &QTimer::timeout, this, &DisChannelView::sendTypingNotice);
    connect(m_priv->buffer, &DisChanBuff::nearingEndOfAvailableMessagesWithOldestId, this,
            &DisChannelView::fetchEarlierHistory);
    connect(m_priv->buffer, &DisChanBuff::editRequested, this, &DisChannelView::beginEdit);
    connect(m_priv->arrowTool, &QAction::triggered, this,
            [this] { setToolMode(DisChannelToolModeType::Arrow); });
    connect(m_priv->textSelectionTool, &QAction::triggered, this,
            [this] { setToolMode(DisChannelToolModeType::TextSelection); });
    connect(&m_priv->channel, &DisChannelListener::propertiesChanged, this,
            &DisChannelView::channelPropertiesChanged);
    connect(&m_priv->typing, &DisTypingUsersListener::typingUsersChanged, this,
            &DisChannelView::refreshStatusText);
}

void DisChannelView::connectSources()
{
    connect(g_disClient, &DisClient::disChanges, this, &DisChannelView::disChanges);
    connect(g_disClient, &DisClient::sessionsChanged, this, &DisChannelView::refreshState);
    connect(g_disClient, &DisClient::channelHistoryFetched, this, &DisChannelView::refreshState);
    connect(g_disManager, &DisManager::accountsChanged, this, &DisChannelView::refreshState);
    connect(g_disManager, &DisManager::anyAccountsConnectedChanged, this,
            &DisChannelView::refreshState);
    connect(g_globalEvents, &NakGlobalEvents::connStatusChanged, this,
            &DisChannelView::refreshState);
    connect(g_globalEvents, &NakGlobalEvents::preferencesChanged, this, [this] {
        refreshInputMetrics();
        refreshStatusText();
    });
}

// --- channel ---

FlakeId DisChannelView::channelId() const
{
    return m_priv->channelId;
}

void DisChannelView::setChannelId(FlakeId channelId)
{
    if (channelId == m_priv->channelId) {
        return;
    }
    cancelQuickEditMode();
    keepUnsentText();
    m_priv->channelId = channelId;
    m_priv->recentHistoryAsked = false;
    m_priv->channel.setParams({ channelId, g_disClient->hack_getDefaultUserId() });
    m_priv->buffer->setChannelId(channelId);
    m_priv->buffer->clearHighlightedMessage();
    m_priv->typing.setChannelId(channelId);
    refreshEnabled();
    takeUnsentText();
    refreshTopicText();
    refreshStatusText();
    refreshState();
    emit tabDataChanged(NakTabbedDataChangeFlag::All);
    g_disManager->hack_foregroundChannelsMayHaveChanged();
    if (channelId.isValid()) {
        g_disManager->markChannelAsRecentlyUsed(channelId);
    }
}

DisChannelState DisChannelView::channelState() const
{
    FlakeId const channel = m_priv->channelId;
    FlakeId const user = g_disClient->hack_getDefaultUserId();
    DisChannelState state;
    state.hasChannel = channel.isValid();
    state.hasUser = user.isValid();
    for (DisStoredAccount const* account : g_disManager->accounts()) {
        state.hasAccounts = true;
        auto const connection = account->connectionState;
        state.connecting = state.connecting || connection == DisSessionStateType::Connecting
            || connection == DisSessionStateType::Reconnecting
            || connection == DisSessionStateType::Connected;
    }
    if (state.hasChannel && state.hasUser) {
        state.type = DisCache::channelType(channel);
        state.hasAccess = state.type != DisChannelType::GuildText
            || DisCache::userCanAccessGuildChannel(user, channel);
        state.historyFetched = g_disClient->channelsWithFetchedHistory().contains(channel);
    }
    return state;
}

void DisChannelView::refreshState()
{
    m_priv->buffer->setEmptyText(DisChannelStates::emptyText(channelState()));
    fetchHistoryIfWanted();
}

void DisChannelView::fetchHistoryIfWanted()
{
    if (m_priv->recentHistoryAsked || !isVisible()
        || !DisChannelStates::canFetchHistory(channelState())) {
        return;
    }
    m_priv->recentHistoryAsked = true;
    g_disClient->fetchRecentHistoryForChannel(m_priv->channelId);
}

void DisChannelView::fetchEarlierHistory(FlakeId oldestId)
{
    if (m_priv->channelId.isValid() && oldestId.isValid()
        && !g_disClient->channelsWithOldestMessageFetched().contains(m_priv->channelId)) {
        g_disClient->fetchChannelHistoryEarlierThanMessage(m_priv->channelId, oldestId);
    }
}

void DisChannelView::disChanges(DisChanges const& changes)
{
    using Type = DisChange::ChangeType;
    if (changes.isReload()) {
        m_priv->recentHistoryAsked = false;
    } else if (!changes.has(Type::ChannelChanged) && !changes.has(Type::GuildChanged)
               && !changes.has(Type::GuildMemberChanged) && !changes.has(Type::GuildRoleChanged)) {
        return;
    }
    // The own user is known only once the session is ready.
    m_priv->channel.setParams({ m_priv->channelId, g_disClient->hack_getDefaultUserId() });
    refreshEnabled();
    refreshTopicText();
    refreshState();
    emit tabDataChanged(NakTabbedDataChangeFlags(NakTabbedDataChangeFlag::Text)
                        | NakTabbedDataChangeFlag::Icon);
}

void DisChannelView::channelPropertiesChanged(quint32)
{
    refreshEnabled();
    emit tabDataChanged(NakTabbedDataChangeFlags(NakTabbedDataChangeFlag::Text)
                        | NakTabbedDataChangeFlag::Icon);
}

void DisChannelView::refreshEnabled()
{
    FlakeId const channel = m_priv->channelId;
    FlakeId const user = g_disClient->hack_getDefaultUserId();
    bool const limited = m_priv->channel.guildId().isValid()
        && DisCache::guildChannelRateLimitPerUser(channel) > 0
        && !DisCache::userCanIgnoreRateLimitingInGuildChannel(user, channel);
    bool const wasLimited = !m_priv->input->isEnabled();
    m_priv->input->setEnabled(!limited);
    if (limited) {
        cancelQuickEditMode();
        keepUnsentText();
        m_priv->input->setHintText(QStringLiteral(
            "This channel is rate limited. Nakwire does not yet support rate limiting."));
        return;
    }
    if (wasLimited) {
        takeUnsentText();
    }
    QString const name = m_priv->channel.channelName();
    m_priv->input->setHintText(name.isEmpty() ? QString() : QStringLiteral("Message ") + name);
}

void DisChannelView::refreshTopicText()
{
    bool const inGuild = m_priv->channel.guildId().isValid();
    m_priv->topic->setTopic(inGuild ? DisUtils::channelTopic(m_priv->channelId) : QString());
}

void DisChannelView::refreshInputMetrics()
{
    m_priv->input->setFont(g_preferences->messageBufferFont);
    m_priv->input->setFenceAwareEnter(g_preferences->returnCreatesNewLineInCodeBlocks);
    m_priv->inputHeight->setMetrics(m_priv->input->fontMetrics().height(), inputExtraHeight);
}

// --- tab ---

QString DisChannelView::tabText()
{
    QString const name = m_priv->channel.channelName();
    return name.isEmpty() ? QStringLiteral("Channel") : name;
}

QIcon DisChannelView::tabIcon()
{
    if (!isPrivate(m_priv->channel.channelType())) {
        return iconForGlyph(guildChannelGlyph);
    }
    bool const group = m_priv->channel.channelType() == DisChannelType::PrivateGroup;
    return iconForGlyph(group ? groupGlyph : pairGlyph);
}

QList<QAction*> DisChannelView::tabMenuBarActions()
{
    return { m_priv->menu->menuAction() };
}

NakNavLoc DisChannelView::tabNavLoc() const
{
    return NakNavLoc::discordChannel(m_priv->channelId);
}

bool DisChannelView::tabCanSetNavLoc(NakNavLoc const& place) const
{
    return place.type() == NakNav::Type::Discord
        && place.discordKind() == NakNav::DiscordKind::Channel;
}

void DisChannelView::tabSetNavLoc(NakNavLoc const& place)
{
    if (tabCanSetNavLoc(place)) {
        setChannelId(place.discordChannelId());
    }
}

void DisChannelView::tabSetStatusIsVisible(bool visible)
{
    m_priv->statusIsVisible = visible;
    refreshStatusText();
    g_disManager->hack_foregroundChannelsMayHaveChanged();
}

void DisChannelView::tabPaintStatus(QWidget* widget, QPaintEvent*)
{
    QRect const rect = widget->rect().adjusted(statusMargin, 0, -statusMargin, 0);
    if (m_priv->elidedStatusWidth != rect.width()) {
        m_priv->elidedStatusWidth = rect.width();
        m_priv->elidedStatusText =
            widget->fontMetrics().elidedText(m_priv->statusText, Qt::ElideRight, rect.width());
    }
    QPainter painter(widget);
    painter.setPen(widget->palette().color(QPalette::WindowText));
    painter.drawText(rect, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                     m_priv->elidedStatusText);
}

void DisChannelView::refreshStatusText()
{
    QStringList names;
    if (m_priv->statusIsVisible && g_preferences->showTypingIndicators) {
        for (FlakeId const user : m_priv->typing.typingUsers()) {
            QString const discriminator = g_preferences->displayDiscriminator
                ? DisCache::userDiscrimWithHash(user)
                : QString();
            names.append(DisCache::userName(user) + discriminator);
        }
    }
    QString const text = DisTypingStatus::text(names, DisTypingUsersListener::maxTrackedUsers());
    if (text == m_priv->statusText) {
        return;
    }
    m_priv->statusText = text;
    m_priv->elidedStatusWidth = -1;
    // All of it, wherever the frame has put it.
    emit tabStatusUpdated(QRect(0, 0, QWIDGETSIZE_MAX, QWIDGETSIZE_MAX));
}

void DisChannelView::tabAddToolBarItems(QToolBar* bar)
{
    bar->addAction(m_priv->arrowTool);
    bar->addAction(m_priv->textSelectionTool);
}

void DisChannelView::setToolMode(DisChannelToolModeType mode)
{
    bool const selection = mode == DisChannelToolModeType::TextSelection;
    (selection ? m_priv->textSelectionTool : m_priv->arrowTool)->setChecked(true);
    m_priv->buffer->setTextSelectionEnabled(selection);
}

DisChanBuff* DisChannelView::buffer() const
{
    return m_priv->buffer;
}

DisChatInputTextEdit* DisChannelView::input() const
{
    return m_priv->input;
}

DisTopicLine* DisChannelView::topicLine() const
{
    return m_priv->topic;
}

void DisChannelView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    m_priv->recentHistoryAsked = false; // a request that failed is made once more
    refreshState();
    g_disManager->hack_foregroundChannelsMayHaveChanged();
}

void DisChannelView::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    g_disManager->hack_foregroundChannelsMayHaveChanged();
}

void DisChannelView::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        refreshInputMetrics();
    }
}

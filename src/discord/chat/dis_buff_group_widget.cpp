// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_buff_group_widget.h"

#include "dis_avatar_images.h"
#include "dis_buff_msg_content_widget.h"
#include "dis_cache.h"
#include "dis_group_user_line.h"
#include "preferences.h"

#include <QPaintEvent>
#include <QPainter>
#include <QTextBoundaryFinder>

#include <algorithm>

namespace {

constexpr qint64 quarterMSecs = qint64(15) * 60 * 1000;

DisBuffGroupLayout layoutGroup(QVector<DisBuffMsgContentWidget*> const& contents,
                               DisBuffMetrics const& metrics, int headerHeight, int width)
{
    DisBuffGroupLayout layout;
    layout.width = width;
    QMargins const& margins = metrics.groupMargins;
    int const left = margins.left() + metrics.avatarColumn();
    int const innerWidth = std::max(1, width - left - margins.right());
    int const contentWidth = innerWidth + 2 * metrics.contentInset;
    int y = margins.top();
    if (metrics.avatarSize > 0) {
        layout.avatar = QRect(margins.left(), y, metrics.avatarSize, metrics.avatarSize);
    }
    layout.header = QRect(left, y, innerWidth, headerHeight);
    y += headerHeight + metrics.headerGap;
    layout.contents.reserve(contents.size());
    for (DisBuffMsgContentWidget const* content : contents) {
        int const height = content->heightForWidth(contentWidth);
        layout.contents.append(QRect(left - metrics.contentInset, y, contentWidth, height));
        y += height + metrics.contentGap;
    }
    layout.height = std::max(y - metrics.contentGap, layout.avatar.bottom() + 1) + margins.bottom();
    return layout;
}

void paintInitial(QPainter& painter, QRect const& rect, QString const& initial, FlakeId userId,
                  DisBuffStyle const& style)
{
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(DisBuffStyles::avatarColor(userId, style.theme.dark));
    painter.drawRoundedRect(rect, style.metrics.avatarRadius, style.metrics.avatarRadius);
    painter.setPen(style.theme.initialText);
    painter.setFont(style.metrics.initialFont);
    painter.drawText(rect, Qt::AlignCenter | Qt::TextSingleLine, initial);
}

// The first character as people count them, which may be several code points.
QString initialOfName(QString const& name)
{
    QString const text = name.trimmed();
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    int const end = finder.toNextBoundary();
    return end > 0 ? text.left(end).toUpper() : QString();
}

bool hasPicture(FlakeId user)
{
    return g_disAvatarImages && g_disAvatarImages->avatarNameHashForUser(user) != 0;
}

QString nameOfAuthor(DisUserListener const& author)
{
    if (g_preferences->displayDiscordNicknames && !author.userNick().isEmpty()) {
        return author.userNick();
    }
    if (!author.userName().isEmpty()) {
        return author.userName();
    }
    FlakeId const id = author.params().userId;
    return id.isValid() ? id.toString() : QStringLiteral("Unknown user");
}

} // namespace

DisBuffGroupWidget::DisBuffGroupWidget(DisBuffWidgetsManager* manager)
    : m_manager(manager)
    , m_header(new DisGroupUserLine(manager->style(), this))
    , m_author(new DisUserListener(this))
{
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    connect(m_author, &DisUserListener::propertiesChanged, this,
            &DisBuffGroupWidget::updateFromUserProps);
}

DisBuffGroupWidget::~DisBuffGroupWidget() = default;

// Each new message asks for it of every group on screen. The header's text depends on what day it
// is, and everywhere on earth a day begins with a quarter of an hour.
void DisBuffGroupWidget::setFramingContent(DisBuffGroupParams const& params)
{
    qint64 const quarter = QDateTime::currentMSecsSinceEpoch() / quarterMSecs;
    if (quarter == m_framedQuarter && params.key() == m_params.key()) {
        return;
    }
    m_framedQuarter = quarter;
    m_params = params;
    int const avatarSize = m_manager->style().metrics.avatarSize;
    m_author->setParams({ params.authorId, params.guildId, avatarSize > 0 ? avatarSize : -1 });
    DisGroupUserLine::Params line;
    line.time = QString();
    line.fullDate = QString();
    if (params.timestampKnown) {
        line.time = DisBuffStyles::timeText(params.timestamp, QDateTime::currentDateTime());
        line.fullDate = DisBuffStyles::fullDateText(params.timestamp);
    }
    m_header->setParams(line);
    updateFromUserProps();
}

void DisBuffGroupWidget::updateFromPreferences()
{
    m_header->styleChanged();
    invalidateLayout();
    m_framedQuarter = -1;
    m_author->clear(); // what stands for a picture has the theme's colours
    setFramingContent(m_params);
}

void DisBuffGroupWidget::clearResourcesOnly()
{
    m_author->clear();
    m_framedQuarter = -1;
    for (DisBuffMsgContentWidget* content : qAsConst(m_contents)) {
        content->clearResourcesOnly();
    }
}

DisBuffMsgContentWidget* DisBuffGroupWidget::appendContent()
{
    DisBuffMsgContentWidget* content = m_manager->takeContentWidget();
    content->setParent(this);
    content->show();
    m_contents.append(content);
    m_layout.width = -1;
    return content;
}

void DisBuffGroupWidget::truncateContents(int count)
{
    while (m_contents.size() > count) {
        DisBuffMsgContentWidget* content = m_contents.takeLast();
        content->hide();
        content->setParent(nullptr);
        content->clearResourcesOnly();
        m_manager->releaseContentWidget(content);
        m_layout.width = -1;
    }
}

void DisBuffGroupWidget::invalidateLayout()
{
    m_layout.width = -1;
    if (isVisible()) {
        placeParts();
    }
    updateGeometry();
}

int DisBuffGroupWidget::heightForWidth(int width) const
{
    if (m_layout.width != width) {
        m_layout =
            layoutGroup(m_contents, m_manager->style().metrics, m_header->lineHeight(), width);
    }
    return m_layout.height;
}

QSize DisBuffGroupWidget::sizeHint() const
{
    return { width(), heightForWidth(width()) };
}

int DisBuffGroupWidget::contentTop(int index, int width) const
{
    heightForWidth(width);
    return m_layout.contents.at(index).top();
}

bool DisBuffGroupWidget::event(QEvent* event)
{
    if (event->type() == QEvent::LayoutRequest) {
        layoutRequested();
        return true;
    }
    return QWidget::event(event);
}

void DisBuffGroupWidget::paintEvent(QPaintEvent* event)
{
    if (!m_layout.avatar.intersects(event->rect())) {
        return;
    }
    QPainter painter(this);
    if (m_initial.isEmpty()) {
        painter.drawPixmap(m_layout.avatar, m_author->userAvatar().pixmap());
    } else {
        paintInitial(painter, m_layout.avatar, m_initial, m_params.authorId, m_manager->style());
    }
}

void DisBuffGroupWidget::resizeEvent(QResizeEvent*)
{
    placeParts();
}

// One that is used again and as large as before is told of no new size.
void DisBuffGroupWidget::showEvent(QShowEvent*)
{
    placeParts();
}

void DisBuffGroupWidget::updateFromUserProps()
{
    DisGroupUserLine::Params line;
    line.name = nameOfAuthor(*m_author);
    line.discriminator = g_preferences->displayDiscriminator ? m_author->userDiscrim() : QString();
    QColor const role = m_author->userRoleColor();
    DisBuffStyle const& style = m_manager->style();
    line.nameColor = role.isValid()
        ? DisBuffStyles::readableColor(role, style.theme, style.metrics.minNameContrast)
        : QColor();
    line.status = m_author->userStatusCode();
    line.isBot = DisCache::userIsBot(m_params.authorId);
    m_header->setParams(line);
    m_initial = hasPicture(m_params.authorId) ? QString() : initialOfName(*line.name);
    update(m_layout.avatar);
}

void DisBuffGroupWidget::placeParts()
{
    heightForWidth(width());
    m_header->setGeometry(m_layout.header);
    for (int i = 0; i < m_contents.size(); ++i) {
        m_contents.at(i)->setGeometry(m_layout.contents.at(i));
    }
}

// A message has a new height, or was only given the one that it asked for.
void DisBuffGroupWidget::layoutRequested()
{
    int const before = m_layout.height;
    int const layoutWidth = m_layout.width;
    m_layout.width = -1;
    if (layoutWidth < 0) {
        return;
    }
    bool const sameHeight = heightForWidth(layoutWidth) == before;
    placeParts();
    if (!sameHeight) {
        updateGeometry();
    }
}

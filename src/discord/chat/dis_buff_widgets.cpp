// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_buff_widgets.h"

#include "deployment.h"
#include "dis_buff_group_widget.h"
#include "dis_buff_msg_content_widget.h"
#include "nak_stmt.h"
#include "preferences.h"

#include <QGuiApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QPalette>
#include <QUrl>

namespace {

// A screen shows some tens of each; a long span may show hundreds, which are not worth keeping.
constexpr int maxFreeGroups = 64;
constexpr int maxFreeContents = 128;

constexpr int knownTypes = 8; // those below are told apart, all others are plain messages

namespace MessageRow {
constexpr char sql[] = "select content, type, edited, deleted from message where id = ?";
enum Column { Content, Type, Edited, Deleted };
}

namespace ImageRow {
constexpr char embedsSql[] =
    "select url, thumbnail, width, height from message_image_embed where message_id = ?";
constexpr char attachmentsSql[] =
    "select url, thumbnail, width, height from message_image_attachment where message_id = ?";
enum Column { Url, Thumbnail, Width, Height };
}

namespace RichRow {
constexpr char sql[] = "select content from message_rich_embed where message_id = ?";
enum Column { Content };
}

namespace FileRow {
constexpr char sql[] =
    "select filename, url, filesize from message_file_attachment where message_id = ?";
enum Column { FileName, Url, FileSize };
}

// What a message of a type says in place of its content; an empty entry keeps the content.
QString textOfType(int type, QString const& content)
{
    switch (type) {
    case 1:
        return QStringLiteral("Users added to conversation");
    case 2:
        return QStringLiteral("Users removed from conversation");
    case 3:
        return QStringLiteral("Calling");
    case 4:
        return QStringLiteral("Changed channel name to: ") + content;
    case 5:
        return QStringLiteral("Changed channel icon");
    case 6:
        return QStringLiteral("Pinned message");
    case 7:
        return QStringLiteral("Member joined");
    default:
        return content;
    }
}

DisBuffPictureRow pictureRow(NakStmt const& row)
{
    return { row.colString(ImageRow::Url), row.colString(ImageRow::Thumbnail),
             row.colInt(ImageRow::Width), row.colInt(ImageRow::Height) };
}

DisBuffNote noteOfPicture(NakStmt const& row)
{
    QUrl const url(row.colString(ImageRow::Url));
    QString const name = url.fileName();
    return { name.isEmpty() ? url.toString() : name, url };
}

DisBuffNote noteOfRichEmbed(NakStmt const& row)
{
    QJsonObject const embed =
        QJsonDocument::fromJson(row.colTextByteArray(RichRow::Content)).object();
    QString const url = embed.value(QLatin1String("url")).toString();
    for (char const* key : { "title", "description", "url" }) {
        QString const text = embed.value(QLatin1String(key)).toString();
        if (!text.isEmpty()) {
            return { text.simplified(), QUrl(url) };
        }
    }
    return {};
}

DisBuffNote noteOfFile(NakStmt const& row)
{
    QString const name = row.colString(FileRow::FileName);
    QUrl const url(row.colString(FileRow::Url));
    qint64 const size = row.colInt64(FileRow::FileSize);
    if (size <= 0) {
        return { name, url };
    }
    return { QStringLiteral("%1 (%2)").arg(name, QLocale().formattedDataSize(size)), url };
}

void append(QVector<DisBuffNote>& notes, DisBuffNote const& note)
{
    if (!note.text.isEmpty() && notes.size() < DisBuffWidgetsManager::maxNotes) {
        notes.append(note);
    }
}

// Without them, or where nothing may be fetched, a line stands for each picture.
bool showsPictures()
{
    return g_preferences->showImagesInChat && !g_preferences->lowBandwidthMode;
}

} // namespace

DisBuffWidgetsManager::DisBuffWidgetsManager(Sources const& sources, QObject* parent)
    : QObject(parent)
    , m_sources(sources)
    , m_messageStmt(sources.db, MessageRow::sql)
    , m_imageEmbedsStmt(sources.db, ImageRow::embedsSql)
    , m_richEmbedsStmt(sources.db, RichRow::sql)
    , m_imageAttachmentsStmt(sources.db, ImageRow::attachmentsSql)
    , m_fileAttachmentsStmt(sources.db, FileRow::sql)
{
    updateStyle();
}

DisBuffWidgetsManager::~DisBuffWidgetsManager()
{
    qDeleteAll(m_freeGroups);
    qDeleteAll(m_freeContents);
}

DisBuffGroupWidget* DisBuffWidgetsManager::takeGroupWidget()
{
    return m_freeGroups.isEmpty() ? new DisBuffGroupWidget(this) : m_freeGroups.takeLast();
}

void DisBuffWidgetsManager::releaseGroupWidget(DisBuffGroupWidget* group)
{
    if (m_freeGroups.size() >= maxFreeGroups) {
        group->deleteLater();
        return;
    }
    m_freeGroups.append(group);
}

DisBuffMsgContentWidget* DisBuffWidgetsManager::takeContentWidget()
{
    return m_freeContents.isEmpty() ? new DisBuffMsgContentWidget(this) : m_freeContents.takeLast();
}

void DisBuffWidgetsManager::releaseContentWidget(DisBuffMsgContentWidget* content)
{
    if (m_freeContents.size() >= maxFreeContents) {
        content->deleteLater();
        return;
    }
    m_freeContents.append(content);
}

void DisBuffWidgetsManager::updateStyle()
{
    m_style.metrics = DisBuffStyles::metricsFromPreferences(*g_preferences);
    m_style.theme = DisBuffStyles::themeFromPalette(QGuiApplication::palette());
}

DisBuffContent DisBuffWidgetsManager::loadContent(DisBuffItem const& item)
{
    if (!item.isPending()) {
        return loadConfirmed(item.id);
    }
    auto const record = m_sources.pending->constFind(item.id);
    DisBuffContent content;
    if (record != m_sources.pending->constEnd()) {
        content.text = record->text;
    }
    return content;
}

DisBuffContent DisBuffWidgetsManager::loadConfirmed(FlakeId id)
{
    m_sources.reads->aboutToRead();
    DisBuffContent content;
    int type = 0;
    m_messageStmt.bind(1, id);
    if (m_messageStmt.step()) {
        type = m_messageStmt.colInt(MessageRow::Type);
        type = type >= 0 && type < knownTypes ? type : 0;
        content.text = textOfType(type, m_messageStmt.colString(MessageRow::Content));
        if (m_messageStmt.colBool(MessageRow::Deleted)) {
            content.mode = DisText::ContentMode::Deleted;
        } else if (m_messageStmt.colInt64(MessageRow::Edited) != 0) {
            content.mode = DisText::ContentMode::Edited;
        } else if (type > 0) {
            content.mode = DisText::ContentMode::Action;
        }
    }
    m_messageStmt.reset();
    if (content.mode != DisText::ContentMode::Deleted) {
        loadPictures(content, id);
        loadNotes(content, id);
    }
    return content;
}

void DisBuffWidgetsManager::loadPictures(DisBuffContent& content, FlakeId id)
{
    if (!showsPictures() || !g_deployment) {
        return;
    }
    auto const take = [&content](NakStmt const& row) {
        if (content.pictures.size() < maxNotes) {
            content.pictures.append(DisBuffPictures::pictureOf(pictureRow(row), *g_deployment));
        }
    };
    if (g_preferences->showLinkPreviewsInChat) {
        forEachRow(m_imageEmbedsStmt, id, take);
    }
    forEachRow(m_imageAttachmentsStmt, id, take);
}

void DisBuffWidgetsManager::loadNotes(DisBuffContent& content, FlakeId id)
{
    bool const namesPictures = content.pictures.isEmpty();
    bool const hasText = !content.text.isEmpty();
    auto const takePicture = [&](NakStmt const& row) { append(content.notes, noteOfPicture(row)); };
    if (namesPictures && !hasText) {
        forEachRow(m_imageEmbedsStmt, id, takePicture);
    }
    if (!hasText) {
        forEachRow(m_richEmbedsStmt, id,
                   [&](NakStmt const& row) { append(content.notes, noteOfRichEmbed(row)); });
    }
    if (namesPictures) {
        forEachRow(m_imageAttachmentsStmt, id, takePicture);
    }
    forEachRow(m_fileAttachmentsStmt, id,
               [&](NakStmt const& row) { append(content.notes, noteOfFile(row)); });
}

template <typename Take>
void DisBuffWidgetsManager::forEachRow(NakStmt& stmt, FlakeId id, Take take)
{
    m_sources.reads->aboutToRead();
    stmt.bind(1, id);
    for (int rows = 0; rows < maxNotes && stmt.step(); ++rows) {
        take(stmt);
    }
    stmt.reset();
}

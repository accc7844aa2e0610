// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_text_document.h"

#include "bi_set.h"
#include "dis_cache.h"
#include "dis_client.h"
#include "dis_emoji_images.h"
#include "dis_message_parse.h"
#include "dis_text_formats.h"
#include "dis_text_images.h"
#include "dis_utils.h"
#include "global_events.h"
#include "preferences.h"

#include <QPointer>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextLayout>

DisTextDocumentManager* g_disTextDocumentManager = nullptr;

namespace {

constexpr int pooledDocuments = 100;
constexpr int usualReparses = 256; // that many need no heap

// A document without undo keeps the characters that were removed, up to 96 KiB of them, and each
// format that it ever had, of which every link brings a new one. Beyond these it starts afresh:
// rarely enough to cost nothing, and early enough to keep hundreds of documents small.
constexpr int maxKeptChars = 2048;
constexpr int maxKeptFormats = 48;

using DocKey = Util::PtrKey<DisTextDocument>;
using Kind = DisplayMessagePiece::Kind;

} // namespace

struct DisTextDocumentManagerPriv {
    QVector<DisTextDocument*> free; // a stack
    QVector<DisTextDocument*> withContent; // each knows its index
    ManagerUtils::BiSet<FlakeId, DocKey> mentionedUsers;
    DisTextImages images;
    DisTextFormats formats;
    int formatsVersion = 0; // 0: not made yet
    bool lazySetupDone = false;
};

struct DisTextDocument::Impl {
    QPointer<DisTextDocumentManager> manager;
    int contentIndex = -1; // in the manager's list
    int formatsVersion = 0; // of the default font
    int writtenChars = 0; // since it was last empty
    bool hasCodeBlock = false;
    DisTextImages::Held images;

    static void addToContentList(DisTextDocument* doc);
    static void disconnectResources(DisTextDocument* doc);
    static void dropWhatWasRemoved(DisTextDocument* doc);
    static void setData(DisTextDocument* doc, DisText::ContentParams const& params);
};

namespace {

// Writes one message into a document, at the cursor.
struct Filler {
    QTextCursor& cursor;
    DisTextFormats const& formats;
    DisText::ContentParams const& params;
    DisTextDocumentManagerPriv& manager;
    DisTextDocument* document;
    DisTextImages::Held& images;
    QTextCharFormat const& base;
    bool hasCodeBlock = false;

    void text(QStringView view) { cursor.insertText(view.toString(), base); }
    void customEmoji(DisplayMessagePiece const& piece);
    void userMention(FlakeId user);
    void url(QString const& address);
    void channelMention(FlakeId channel);
    void roleMention(FlakeId role);
    void codeBlock(QStringView code, bool last);
    void piece(DisplayMessagePiece const& piece, bool last);
    void body();
};

void Filler::customEmoji(DisplayMessagePiece const& piece)
{
    DisEmojiKey const key(piece.id.value(), formats.emojiHeight);
    cursor.insertImage(manager.images.use(document, images, key, piece.text));
}

void Filler::userMention(FlakeId user)
{
    QTextCharFormat format = formats.bold;
    if (params.guildId.isValid()) {
        QColor const color = DisCache::userRoleColorInGuild(user, params.guildId);
        if (color.isValid()) {
            format.setForeground(color);
        }
    }
    QString const name = DisCache::userName(user);
    cursor.insertText(QLatin1Char('@') + (name.isEmpty() ? user.toString() : name), format);
    if (!name.isEmpty() && g_preferences->displayDiscriminator) {
        QString const discrim = DisCache::userDiscrimWithHash(user);
        if (!discrim.isEmpty()) {
            cursor.insertText(discrim, formats.discriminator);
        }
    }
    manager.mentionedUsers.insert(user, { document });
}

void Filler::url(QString const& address)
{
    QTextCharFormat format = formats.link;
    format.setAnchor(true);
    format.setAnchorHref(address);
    cursor.insertText(address, format);
}

void Filler::channelMention(FlakeId channel)
{
    QString const name = DisCache::guildChannelDisplayName(channel);
    cursor.insertText(name.isEmpty() ? QStringLiteral("[Unknown channel]") : name, formats.bold);
}

void Filler::roleMention(FlakeId role)
{
    DisRoleNameAndColor const found = DisUtils::findRoleNameAndColor(role);
    QTextCharFormat format = formats.bold;
    if (found.found && found.color.isValid()) {
        format.setForeground(found.color);
    }
    cursor.insertText(
        QLatin1Char('@') + (found.found ? found.name : QStringLiteral("[Unknown Role]")), format);
}

void Filler::codeBlock(QStringView code, bool last)
{
    if (cursor.atBlockStart()) {
        cursor.setBlockFormat(formats.codeBlockBlock);
    } else {
        cursor.insertBlock(formats.codeBlockBlock);
    }
    cursor.insertText(code.toString(), formats.codeBlock);
    hasCodeBlock = true;
    if (!last || params.mode == DisText::ContentMode::Edited) {
        cursor.insertBlock(formats.regularBlock);
    }
}

void Filler::piece(DisplayMessagePiece const& piece, bool last)
{
    switch (piece.kind) {
    case Kind::Text:
        text(piece.text);
        break;
    case Kind::CustomEmoji:
        customEmoji(piece);
        break;
    case Kind::UserMention:
        userMention(piece.id);
        break;
    case Kind::Url:
        url(piece.text.toString());
        break;
    case Kind::ChannelMention:
        channelMention(piece.id);
        break;
    case Kind::RoleMention:
        roleMention(piece.id);
        break;
    case Kind::CodeBlock:
        codeBlock(piece.text, last);
        break;
    case Kind::InlineCode:
        cursor.insertText(piece.text.toString(), formats.inlineCode);
        break;
    }
}

// An empty block that is joined with the next one takes over that one's format; not here.
void removeFromCursor(QTextCursor& cursor)
{
    QTextBlockFormat const format = cursor.blockFormat();
    cursor.movePosition(QTextCursor::End, QTextCursor::KeepAnchor);
    cursor.removeSelectedText();
    if (cursor.blockFormat() != format) {
        cursor.setBlockFormat(format);
    }
}

// Otherwise every line is shaped twice: to be laid out, and then each time it is painted.
void keepShapedText(QTextDocument const& doc)
{
    for (QTextBlock block = doc.begin(); block.isValid(); block = block.next()) {
        block.layout()->setCacheEnabled(true);
    }
}

void Filler::body()
{
    if (params.mode == DisText::ContentMode::Deleted) {
        cursor.insertText(QStringLiteral("[deleted]"), formats.dim);
        return;
    }
    if (params.mode == DisText::ContentMode::Action) {
        cursor.insertText(QStringLiteral("[action] "), formats.dim);
    }
    DisplayMessageRun const run = DisMessageParse::parseDisplayMessage(params.text);
    for (int i = 0; i < run.size(); ++i) {
        piece(run[i], i + 1 == run.size());
    }
    if (params.mode == DisText::ContentMode::Edited) {
        cursor.insertText(QStringLiteral(" [edited]"), formats.dim);
    }
}

} // namespace

// --- one document ---

DisTextDocument::DisTextDocument(DisTextDocumentManager* manager, QObject* parent)
    : QTextDocument(parent)
    , m_impl(std::make_unique<Impl>())
{
    m_impl->manager = manager;
    setUndoRedoEnabled(false);
    setDocumentMargin(0.0);
}

DisTextDocument::~DisTextDocument()
{
    Impl::disconnectResources(this);
}

bool DisTextDocument::hasCodeBlock() const
{
    return m_impl->hasCodeBlock;
}

void DisTextDocument::setFromParams(DisText::ContentParams const& params)
{
    Impl::setData(this, params);
}

void DisTextDocument::clear()
{
    QTextDocument::clear();
    m_impl->writtenChars = 0;
    Impl::disconnectResources(this);
}

void DisTextDocument::clearResourcesOnly()
{
    Impl::disconnectResources(this);
}

void DisTextDocument::release()
{
    setParent(nullptr);
    if (!m_impl->manager) {
        deleteLater();
        return;
    }
    Impl::disconnectResources(this);
    m_impl->manager->m_priv->free.append(this);
}

void DisTextDocument::Impl::addToContentList(DisTextDocument* doc)
{
    QVector<DisTextDocument*>& list = doc->m_impl->manager->m_priv->withContent;
    doc->m_impl->contentIndex = list.size();
    list.append(doc);
}

// Takes the document out of everything that finds documents by what they show.
void DisTextDocument::Impl::disconnectResources(DisTextDocument* doc)
{
    Impl& impl = *doc->m_impl;
    if (!impl.manager) {
        return;
    }
    DisTextDocumentManagerPriv& priv = *impl.manager->m_priv;
    if (!priv.mentionedUsers.isEmpty()) {
        priv.mentionedUsers.removeB({ doc });
    }
    priv.images.release(doc, impl.images);
    if (impl.contentIndex >= 0) {
        DisTextDocument* const last = priv.withContent.last();
        priv.withContent[impl.contentIndex] = last;
        last->m_impl->contentIndex = impl.contentIndex;
        priv.withContent.removeLast();
        impl.contentIndex = -1;
    }
}

void DisTextDocument::Impl::dropWhatWasRemoved(DisTextDocument* doc)
{
    Impl& impl = *doc->m_impl;
    if (impl.writtenChars > maxKeptChars || doc->allFormats().size() > maxKeptFormats) {
        doc->QTextDocument::clear();
        impl.writtenChars = 0;
    }
}

// What the document held before was not cleared: the new text goes in before it, and one step at
// the end removes it. All is one edit, so it is laid out once.
void DisTextDocument::Impl::setData(DisTextDocument* doc, DisText::ContentParams const& params)
{
    Impl& impl = *doc->m_impl;
    if (!impl.manager) {
        return;
    }
    DisTextDocumentManagerPriv& priv = *impl.manager->m_priv;
    disconnectResources(doc);
    if (params.mode != DisText::ContentMode::Normal || !params.text.isEmpty()) {
        addToContentList(doc);
    }
    if (impl.formatsVersion != priv.formatsVersion) {
        impl.formatsVersion = priv.formatsVersion;
        doc->setDefaultFont(priv.formats.bodyFont);
    }
    dropWhatWasRemoved(doc);
    QTextCursor cursor(doc);
    bool const action = params.mode == DisText::ContentMode::Action;
    Filler filler{ cursor,
                   priv.formats,
                   params,
                   priv,
                   doc,
                   impl.images,
                   action ? priv.formats.italic : priv.formats.regular };
    cursor.beginEditBlock();
    cursor.setBlockFormat(priv.formats.regularBlock);
    filler.body();
    removeFromCursor(cursor);
    impl.hasCodeBlock = filler.hasCodeBlock;
    impl.writtenChars += doc->characterCount();
    keepShapedText(*doc);
    cursor.endEditBlock();
}

// --- the manager ---

namespace {

using DocList = QVarLengthArray<QPointer<DisTextDocument>, usualReparses>;

// A slot may delete any of them, or fill it again.
void askForReparse(DocList const& docs)
{
    for (QPointer<DisTextDocument> const& doc : docs) {
        if (doc) {
            emit doc->needsReparse();
        }
    }
}

} // namespace

DisTextDocumentManager::DisTextDocumentManager(QObject* parent)
    : QObject(parent)
    , m_priv(std::make_unique<DisTextDocumentManagerPriv>())
{
    if (g_globalEvents != nullptr) {
        connect(g_globalEvents, &NakGlobalEvents::preferencesChanged, this,
                &DisTextDocumentManager::prefsChanged);
    }
    if (g_disClient != nullptr) {
        connect(g_disClient, &DisClient::disChanges, this, &DisTextDocumentManager::disChanges);
    }
    if (g_disEmojiImages != nullptr) {
        connect(g_disEmojiImages, &DisEmojiImages::emojiPixmapPresented, this,
                &DisTextDocumentManager::emojiPixmapPresented);
    }
}

DisTextDocumentManager::~DisTextDocumentManager()
{
    qDeleteAll(std::exchange(m_priv->free, {}));
}

void DisTextDocumentManager::lazySetup()
{
    if (m_priv->lazySetupDone) {
        return;
    }
    m_priv->lazySetupDone = true;
    m_priv->formats = DisText::formatsFromPrefs(*g_preferences);
    m_priv->formatsVersion = 1;
    m_priv->free.reserve(pooledDocuments);
    for (int i = 0; i < pooledDocuments; ++i) {
        m_priv->free.append(new DisTextDocument(this, nullptr));
    }
}

DisTextDocument* DisTextDocumentManager::takeTextDocument(QObject* parent)
{
    lazySetup();
    if (m_priv->free.isEmpty()) {
        return new DisTextDocument(this, parent);
    }
    DisTextDocument* const doc = m_priv->free.takeLast();
    doc->setParent(parent);
    return doc;
}

QTextCharFormat const& DisTextDocumentManager::selectionFormat() const
{
    return m_priv->formats.selection;
}

void DisTextDocumentManager::disChanges(DisChanges const& changes)
{
    DocList docs;
    auto const collect = [&docs](DocKey key) {
        if (!docs.contains(key.ptr)) {
            docs.append(key.ptr);
        }
    };
    if (changes.isReload()) {
        m_priv->mentionedUsers.forEachB(collect);
    } else if (changes.has(DisChange::ChangeType::UserPropertiesChanged)) {
        for (DisChange const& change : changes.items) {
            if (change.type == DisChange::ChangeType::UserPropertiesChanged) {
                m_priv->mentionedUsers.forEachOfA(change.words[0], collect);
            }
        }
    }
    askForReparse(docs);
}

// A picture of an older height is for nobody any more.
void DisTextDocumentManager::emojiPixmapPresented(FlakeId const& id, int height,
                                                  SharedImage const& image)
{
    if (height != m_priv->formats.emojiHeight) {
        return;
    }
    DocList docs;
    for (DisTextDocument* doc : m_priv->images.present(DisEmojiKey(id.value(), height), image)) {
        docs.append(doc);
    }
    for (QPointer<DisTextDocument> const& doc : docs) {
        if (doc) {
            emit doc->needsRepaintOnly();
        }
    }
}

void DisTextDocumentManager::prefsChanged()
{
    if (!m_priv->lazySetupDone) {
        return;
    }
    m_priv->formats = DisText::formatsFromPrefs(*g_preferences);
    ++m_priv->formatsVersion;
    DocList docs;
    for (DisTextDocument* doc : qAsConst(m_priv->withContent)) {
        docs.append(doc);
    }
    askForReparse(docs);
}

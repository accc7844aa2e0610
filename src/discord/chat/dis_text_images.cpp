// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_text_images.h"

#include "dis_emoji_images.h"
#include "dis_text_document.h"

#include <QTextBlock>

#include <algorithm>

namespace {

DisTextImages::Resource makeResource(DisEmojiKey const& key, QStringView name)
{
    auto resource = std::make_shared<DisTextImages::ImageResource>();
    QString const address = QLatin1String("disemoji://") + key.id.toString();
    resource->url = QUrl(address); // a small number is taken for a host, here as in the layout
    resource->format.setVerticalAlignment(QTextCharFormat::AlignMiddle);
    resource->format.setName(address);
    resource->format.setHeight(key.height);
    resource->format.setToolTip(name.toString());
    if (g_disEmojiImages)
        resource->image = g_disEmojiImages->getEmojiImage(key.id, key.height);
    return resource;
}

void giveTo(DisTextDocument* document, DisTextImages::ImageResource const& resource)
{
    document->addResource(QTextDocument::ImageResource, resource.url, resource.image.pixmap());
}

// Emoji that follow each other are one fragment.
QString textOf(QTextFragment const& fragment, int from, int to)
{
    int const begin = std::max(from, fragment.position());
    int const end = std::min(to, fragment.position() + fragment.length());
    if (begin >= end)
        return {};
    QTextCharFormat const format = fragment.charFormat();
    if (format.isImageFormat())
        return DisText::emojiText(format.toolTip()).repeated(end - begin);
    QString text = fragment.text().mid(begin - fragment.position(), end - begin);
    return text.replace(QChar::LineSeparator, QLatin1Char('\n'))
        .replace(QChar::Nbsp, QLatin1Char(' '));
}

} // namespace

QString DisText::emojiText(QString const& name)
{
    return QLatin1Char(':') + name + QLatin1Char(':');
}

QString DisText::plainTextOf(QTextDocument const& document, int from, int to)
{
    QString text;
    QTextBlock const first = document.findBlock(from);
    for (QTextBlock block = first; block.isValid() && block.position() <= to;
         block = block.next()) {
        if (block != first)
            text += QLatin1Char('\n');
        for (auto it = block.begin(); !it.atEnd(); ++it)
            text += textOf(it.fragment(), from, to);
    }
    return text;
}

QTextImageFormat const& DisTextImages::use(DisTextDocument* document, Held& held,
                                           DisEmojiKey const& key, QStringView name)
{
    auto const own = std::find_if(held.begin(), held.end(),
                                  [&](auto const& entry) { return entry.first == key; });
    if (own != held.end())
        return own->second->format;
    Resource const resource = m_resources.use(key, [&] { return makeResource(key, name); });
    held.append({ key, resource });
    m_documents.insert(key, { document });
    giveTo(document, *resource);
    return resource->format;
}

void DisTextImages::release(DisTextDocument* document, Held& held)
{
    if (held.isEmpty())
        return;
    m_documents.removeB({ document });
    for (auto const& [key, resource] : qAsConst(held)) {
        document->addResource(QTextDocument::ImageResource, resource->url, QVariant());
        m_resources.release(key);
    }
    held.clear();
}

QVector<DisTextDocument*> DisTextImages::present(DisEmojiKey const& key, SharedImage const& image)
{
    QVector<DisTextDocument*> documents;
    Resource* const resource = m_resources.find(key);
    if (!resource)
        return documents;
    (*resource)->image = image;
    m_documents.forEachOfA(key, [&](Util::PtrKey<DisTextDocument> document) {
        giveTo(document.ptr, **resource);
        documents.append(document.ptr);
    });
    if (documents.isEmpty())
        qDebug("Discord emoji image was found in resource ref map, but no text documents were "
               "found that used it.");
    return documents;
}

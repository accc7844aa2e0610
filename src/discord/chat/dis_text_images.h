// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The pictures inside texts: custom emoji as resources of documents, one of each emoji and height
// however many documents show it. The height is fixed when an emoji is inserted, so an arriving
// picture repaints exactly the documents that show it and moves nothing. User-interface thread
// only.

#include "bi_set.h"
#include "flake_id.h"
#include "shared_image.h"

#include <QStringView>
#include <QTextImageFormat>
#include <QUrl>
#include <QVector>

#include <map>
#include <memory>
#include <tuple>

class DisTextDocument;
class QTextDocument;

namespace DisText {

QString emojiText(QString const& name); // ":name:"
// What is copied: blocks become lines, and emoji their texts.
QString plainTextOf(QTextDocument const& document, int from, int to);

} // namespace DisText

// Ordered, with the number of uses of each value.
template <typename Key, typename Value> class RefCountMap {
public:
    Value* find(Key const& key)
    {
        auto const it = m_entries.find(key);
        return it == m_entries.end() ? nullptr : &it->second.value;
    }
    // Counts one more use; make() gives the value of a new entry.
    template <typename Make> Value& use(Key const& key, Make make)
    {
        auto it = m_entries.find(key);
        if (it == m_entries.end())
            it = m_entries.emplace(key, Entry{ make(), 0 }).first;
        ++it->second.uses;
        return it->second.value;
    }
    void release(Key const& key)
    {
        auto const it = m_entries.find(key);
        if (it != m_entries.end() && --it->second.uses == 0)
            m_entries.erase(it);
    }
    int count() const { return static_cast<int>(m_entries.size()); }

private:
    struct Entry {
        Value value;
        int uses;
    };
    std::map<Key, Entry> m_entries;
};

struct DisEmojiKey {
    explicit constexpr DisEmojiKey(quint64 idValue = 0, int emojiHeight = 0)
        : id(idValue)
        , height(emojiHeight)
    {
    }

    FlakeId id;
    int height;

    auto key() const { return std::tie(id, height); }
    friend bool operator<(DisEmojiKey const& a, DisEmojiKey const& b) { return a.key() < b.key(); }
    friend bool operator==(DisEmojiKey const& a, DisEmojiKey const& b)
    {
        return a.key() == b.key();
    }
};

class DisTextImages {
public:
    struct ImageResource {
        QUrl url;
        QTextImageFormat format;
        SharedImage image;
    };
    using Resource = std::shared_ptr<ImageResource>;
    // What one document holds; it keeps the list.
    using Held = QVector<std::pair<DisEmojiKey, Resource>>;

    // The format to insert the emoji with. The document has its picture, or what stands for it.
    QTextImageFormat const& use(DisTextDocument* document, Held& held, DisEmojiKey const& key,
                                QStringView name);
    // Lets go of everything that the document holds.
    void release(DisTextDocument* document, Held& held);
    // Hands the picture to the documents that show it, and gives them.
    QVector<DisTextDocument*> present(DisEmojiKey const& key, SharedImage const& image);

    int resourceCount() const { return m_resources.count(); }

private:
    RefCountMap<DisEmojiKey, Resource> m_resources;
    ManagerUtils::BiSet<DisEmojiKey, Util::PtrKey<DisTextDocument>> m_documents;
};

// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Names and small talk. Everything comes from tables and a counter-based generator, so that the
// same seed says the same on every machine, and message number i can be had without those before
// it.

#include <QString>

#include <vector>

namespace stage {

// Small, fast and the same everywhere; the standard distributions are not.
class Rng {
public:
    explicit Rng(quint64 seed)
        : m_state(seed)
    {
    }
    // One generator per thing: mixes the parts of its name into a seed.
    Rng(quint64 a, quint64 b, quint64 c)
        : m_state(a ^ (b * 0x9e3779b97f4a7c15u) ^ (c * 0xc2b2ae3d27d4eb4fu))
    {
        next();
    }

    quint64 next();
    int below(int bound) { return bound <= 1 ? 0 : int(next() % quint64(bound)); }
    // True in `percent` of 100 cases.
    bool chance(int percent) { return below(100) < percent; }

private:
    quint64 m_state;
};

QString personName(Rng& rng);
QString nickName(Rng& rng, QString const& name);
QString guildName(int index);
QString roleName(int index);
int roleColor(int index);
QString gameName(Rng& rng);

// The rooms of a guild in their order; behind the last one they repeat with a number.
QString textChannelName(int index);
QString textChannelTopic(int index);
QString voiceChannelName(int index);
QString categoryName(int index);

int topicCount();

// What can be pointed at from within a text, in wire markup.
struct TalkContext {
    std::vector<quint64> people; // user ids
    std::vector<quint64> channels;
    std::vector<QString> emoji; // "<:name:id>"
};

// What a message is in its conversation.
enum class Turn { Opening, Answer, Continuation };

// One message of 1 to 3 lines about the topic.
QString talk(Rng& rng, int topic, Turn turn, TalkContext const& context);
QString unicodeEmoji(Rng& rng);

} // namespace stage

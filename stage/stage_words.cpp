// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "stage_words.h"

namespace stage {

namespace {

template <int N> char const* pick(Rng& rng, char const* const (&table)[N])
{
    return table[rng.below(N)];
}

template <int N> QString numbered(char const* const (&table)[N], int index, char const* join)
{
    QString name = QString::fromUtf8(table[index % N]);
    if (index >= N)
        name += QString::fromUtf8(join) + QString::number(index / N + 1);
    return name;
}

constexpr char const* kFirst[] = {
    "Mira",  "Tobias",  "Anouk",  "Jonas",   "Leila",  "Otto",    "Priya",   "Henrik", "Saoirse",
    "Mateo", "Noor",    "Felix",  "Ines",    "Kenji",  "Clara",   "Dmitri",  "Yara",   "Emil",
    "Sofia", "Ravi",    "Greta",  "Luca",    "Amara",  "Bjorn",   "Hana",    "Oscar",  "Zofia",
    "Theo",  "Maren",   "Idris",  "Nadia",   "Pavel",  "Linnea",  "Hugo",    "Aiko",   "Ruben",
    "Talia", "Viktor",  "Esme",   "Joaquin", "Freya",  "Samir",   "Odette",  "Milan",  "Petra",
    "Arjun", "Ronja",   "Caleb",  "Imke",    "Davi",   "juniper", "kestrel", "marlow", "wren",
    "sable", "orchard", "pixel",  "moss",    "tinker", "quill",   "fern",    "cobalt", "maple",
    "ember", "nimbus",  "harbor", "rowan",   "basalt", "clover",  "drift",
};
constexpr char const* kTail[] = {
    "Lindqvist", "Okafor",   "Marchetti", "Brandt",   "Castellanos", "Hale",  "Nakamura",
    "Vos",       "Ferreira", "Kowalski",  "Whitlock", "Sandoval",    "Aalto", "Moreau",
    "Desai",     "Byrne",    "Halvorsen", "Petrov",   "Ibarra",      "Quinn",
};
constexpr char const* kHandleTail[] = {
    "fox", "works", "lane", "byte", "sky", "_", "leaf", "moth", "wave", "stack", "song", "field",
};
constexpr char const* kGuilds[] = {
    "Harbor Lights",    "The Reading Room", "Pixel Forge",      "Trailhead",       "Open Kitchen",
    "Synth Garden",     "Night Owls",       "Paper & Ink",      "Northern Makers", "Slow Cycling",
    "Field Recordings", "Little Robots",    "Board Game Attic", "Tide Pool",       "Film Club",
    "Allotment No. 7",  "Loud Keyboards",   "Map Room",         "Sunday League",   "Darkroom",
};
constexpr char const* kRoles[] = {
    "Keepers", "Moderators", "Builders",    "Regulars",    "Newcomers",
    "Artists", "Musicians",  "Translators", "Night shift", "Guests",
};
constexpr int kRoleColors[] = { 0xe67e22, 0x2ecc71, 0x3498db, 0x9b59b6, 0,
                                0xe91e63, 0x1abc9c, 0xf1c40f, 0x607d8b, 0 };
constexpr char const* kGames[] = {
    "Chess",          "Stardew Valley",  "Factorio",
    "Portal 2",       "Civilization VI", "Celeste",
    "Hollow Knight",  "Rocket League",   "Kerbal Space Program",
    "Dwarf Fortress",
};
constexpr char const* kTextChannels[] = {
    "general",  "announcements", "introductions", "off-topic", "music",
    "books",    "photography",   "cooking",       "workshop",  "help",
    "releases", "code-review",   "design",        "games",     "outdoors",
    "pets",     "film",          "languages",     "meta",      "feedback",
};
constexpr char const* kTopics[] = {
    "Anything that fits nowhere else. Be kind.",
    "News from the keepers, a few times a month.",
    "Say hello and tell us what you make.",
    "",
    "What are you listening to?",
    "One book a month, spoilers behind a warning.",
    "Share a picture, tell us how you took it.",
    "Recipes, failures and rescues.",
    "Works in progress.",
    "Ask; somebody knows.",
    "What went out and what broke.",
    "Small patches, quick answers.",
    "Screens and sketches.",
    "",
    "Trips, maps and weather.",
    "Pictures of animals, nothing else.",
    "Tonight at nine.",
    "",
    "",
    "",
};
constexpr char const* kVoiceChannels[] = { "Lounge", "Workbench", "Listening room",
                                           "Quiet corner" };
constexpr char const* kCategories[] = { "Welcome", "Common room", "Making things", "Free time" };

// Per topic the things one talks about and the places or times that go with them.
struct Topic {
    char const* things[10];
    char const* places[5];
};
constexpr Topic kTalkTopics[] = {
    { { "the new build", "that parser patch", "the release notes", "the crash on start",
        "the settings page", "the nightly tests", "my branch", "the cache rewrite", "the icon set",
        "the import script" },
      { "on the old laptop", "in staging", "after lunch", "since yesterday",
        "on the second screen" } },
    { { "the sourdough", "that lentil soup", "the cast iron pan", "a proper risotto",
        "the plum cake", "my chili", "the pickled onions", "the dumplings", "the pizza stone",
        "a pot of coffee" },
      { "on Sunday", "with less salt", "for eight people", "in the small oven", "before work" } },
    { { "the ridge trail", "the north lake", "my new boots", "the hut booking", "the weather map",
        "the early train", "the long loop", "the trail report", "that viewpoint",
        "the camp stove" },
      { "above the tree line", "this weekend", "in the rain", "before sunrise", "with the kids" } },
    { { "the new record", "that bass line", "the late show", "the tape machine", "my old amp",
        "the second track", "the choir session", "the live version", "the mixdown",
        "the drum sample" },
      { "on headphones", "at half speed", "last night", "in the small hall", "on the train" } },
    { { "chapter nine", "the translation", "that ending", "the short stories", "the library copy",
        "the narrator", "the map at the front", "the sequel", "the first half", "the afterword" },
      { "over the holidays", "in one sitting", "for the second time", "on paper",
        "before Thursday" } },
    { { "the harbour picture", "the wide lens", "a roll of film", "the long exposure", "my scanner",
        "the contact sheet", "the portrait series", "that fog", "the tripod", "the old darkroom" },
      { "at blue hour", "in the rain", "from the bridge", "without a flash", "by the window" } },
};

constexpr char const* kOpeners[] = {
    "Has anyone tried %1 %2?",
    "I finally got around to %1.",
    "Quick question about %1.",
    "Morning! Still thinking about %1.",
    "So, %1 works much better %2.",
    "I would not bother with %1 %2, honestly.",
    "Who is in for %1 %2?",
    "We should talk about %1 again.",
    "Update on %1: it is done.",
    "Found a nice write-up on %1.",
    "%1 turned out better than I thought.",
    "Anyone else having trouble with %1 %2?",
    "I have been putting off %1 for weeks.",
    "Small thing, but %1 really made my day.",
    "Looking at %1 %2 right now.",
    "Is it just me or is %1 slower %2?",
    "Here is what I learned from %1.",
    "Can somebody have a look at %1?",
    "Just a reminder about %1 %2.",
    "Not sure what to do with %1 yet.",
};
constexpr char const* kReplies[] = {
    "Yes, twice. Worth it.",
    "I had the same thing %2.",
    "Same here.",
    "That is a good idea.",
    "Let me check and come back to you.",
    "Oh nice, how long did it take?",
    "I can help with %1 %2 if you like.",
    "Ha, that explains %1.",
    "Thanks, that fixed it!",
    "Hm, not for me. What did you change?",
    "Count me in.",
    "Sounds like a plan.",
    "It was %1 all along, I knew it.",
    "Give me ten minutes.",
    "Sorry, I missed that. Which one?",
    "You can borrow mine.",
    "I would wait until we know more about %1.",
    "Agreed.",
    "Looks right to me.",
    "No rush, whenever you have the time.",
    "Now I want to try %1 too.",
    "That never works %2 :)",
    "Good point, I had not thought of that.",
    "Wow.",
    "Does it also happen %2?",
    "It depends a little on %1.",
    "Will do.",
    "Perfect, see you then.",
    "I wrote it down somewhere, one moment.",
    "ok",
    "Yes",
    "No, but I know somebody who did.",
};
constexpr char const* kSeconds[] = {
    "I will post the details later.",
    "Took me most of the evening.",
    "Pictures tomorrow.",
    "It is easier than it looks.",
    "Tell me if you want the notes.",
    "No idea why, though.",
    "The second try went fine.",
    "Somebody should write that up.",
    "I am still surprised.",
    "Let us see how it holds up.",
    "At least it is quiet now.",
    "Otherwise I would start over.",
};
constexpr char const* kContinuations[] = {
    "And %1 needs another look, I think.",
    "I started with %1, that was the easy part.",
    "By the way, %1 is still on my list.",
    "It was the same %2.",
    "Just saying.",
    "Will try it again %2 and tell you.",
    "Compared to %1 it is nothing.",
    "At least %1 looks good.",
    "Ah, and one more thing about %1.",
    "Never mind, found it.",
    "The rest can wait.",
    "I will keep an eye on %1.",
    "Should have done that %2.",
    "You know how it goes.",
    "Somebody warned me about %1, too.",
    "Here are my notes.",
    "That is all from me.",
    "Maybe %1 is worth the trouble after all.",
};
constexpr char const* kLinks[] = {
    "https://example.org/notes/%1",
    "https://files.example.com/2019/%1.pdf",
    "https://wiki.example.net/wiki/Page_%1_(draft)",
    "http://example.org/a?b=%1&c=2",
};
constexpr char const* kCode[] = {
    "```cpp\nfor (auto const& row : rows)\n    total += row.size();\n```",
    "```\n$ make check\n42 tests, 0 failures\n```",
    "```py\nwith open(path) as f:\n    lines = f.read().splitlines()\n```",
    "```sql\nselect name, count(*) from visits group by name;\n```",
};
constexpr char const* kInline[] = { "`--verbose`", "`git bisect`", "`config.ini`", "`nullptr`" };
constexpr char const* kEmoji[] = {
    "\U0001F44D", "\U0001F389", "\U0001F602", "\u2764\uFE0F", "\U0001F440", "\U0001F642",
    "\U0001F680", "\U0001F525", "\u2615",     "\U0001F331",   "\U0001F64C", "\U0001F914",
};

QString fill(Rng& rng, char const* pattern, Topic const& topic)
{
    QString text = QString::fromUtf8(pattern);
    text.replace(QLatin1String("%1"), QString::fromUtf8(pick(rng, topic.things)));
    text.replace(QLatin1String("%2"), QString::fromUtf8(pick(rng, topic.places)));
    text[0] = text[0].toUpper();
    return text;
}

char const* patternOf(Rng& rng, Turn turn)
{
    switch (turn) {
    case Turn::Opening:
        return pick(rng, kOpeners);
    case Turn::Continuation:
        return pick(rng, kContinuations);
    case Turn::Answer:
        break;
    }
    return rng.chance(15) ? pick(rng, kOpeners) : pick(rng, kReplies);
}

// Ends the sentence, as people do who go on.
QString withStop(QString const& text)
{
    return text.back().isLetter() ? text + QLatin1Char('.') : text;
}

QString userMention(Rng& rng, TalkContext const& context)
{
    return QStringLiteral("<@%1>").arg(context.people[rng.below(int(context.people.size()))]);
}

// What stands behind some messages: one extra at the most, chosen by `dice` of 100.
QString extra(Rng& rng, int dice, TalkContext const& context)
{
    if (dice < 4)
        return QLatin1Char(' ') + QString::fromUtf8(pick(rng, kLinks)).arg(rng.below(9000) + 1000);
    if (dice < 6)
        return QLatin1Char('\n') + QString::fromUtf8(pick(rng, kCode));
    if (dice < 8)
        return QStringLiteral(" Try ") + QString::fromUtf8(pick(rng, kInline)) + QLatin1Char('.');
    if (dice < 14)
        return QLatin1Char(' ') + unicodeEmoji(rng);
    if (dice < 18 && !context.emoji.empty())
        return QLatin1Char(' ') + context.emoji[rng.below(int(context.emoji.size()))];
    if (dice < 20 && !context.channels.empty())
        return QStringLiteral(" More in <#%1>.")
            .arg(context.channels[rng.below(int(context.channels.size()))]);
    return {};
}

} // namespace

quint64 Rng::next()
{
    quint64 z = (m_state += 0x9e3779b97f4a7c15u);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
    return z ^ (z >> 31);
}

QString personName(Rng& rng)
{
    QString first = QString::fromUtf8(pick(rng, kFirst));
    if (rng.chance(45))
        return first;
    if (first[0].isUpper())
        return first + QLatin1Char(' ') + QString::fromUtf8(pick(rng, kTail));
    return first + QString::fromUtf8(pick(rng, kHandleTail));
}

QString nickName(Rng& rng, QString const& name)
{
    QString const first = name.section(QLatin1Char(' '), 0, 0);
    switch (rng.below(3)) {
    case 0:
        return first.toLower();
    case 1:
        return first + QStringLiteral(" (away)");
    default:
        return first + QLatin1Char(' ') + unicodeEmoji(rng);
    }
}

QString guildName(int index)
{
    return numbered(kGuilds, index, " ");
}
QString roleName(int index)
{
    return numbered(kRoles, index, " ");
}
int roleColor(int index)
{
    return kRoleColors[index % int(std::size(kRoleColors))];
}
QString gameName(Rng& rng)
{
    return QString::fromUtf8(pick(rng, kGames));
}
QString textChannelName(int index)
{
    return numbered(kTextChannels, index, "-");
}
QString textChannelTopic(int index)
{
    return QString::fromUtf8(kTopics[index % int(std::size(kTopics))]);
}
QString voiceChannelName(int index)
{
    return numbered(kVoiceChannels, index, " ");
}
QString categoryName(int index)
{
    return numbered(kCategories, index, " ");
}
int topicCount()
{
    return int(std::size(kTalkTopics));
}

QString talk(Rng& rng, int topic, Turn turn, TalkContext const& context)
{
    Topic const& about = kTalkTopics[topic % topicCount()];
    QString text = fill(rng, patternOf(rng, turn), about);
    if (turn == Turn::Answer && !context.people.empty() && rng.chance(8))
        text = userMention(rng, context) + QLatin1Char(' ') + text;
    for (int more = 0; more < 2 && rng.chance(25); ++more)
        text = withStop(text) + QLatin1Char(rng.chance(35) ? '\n' : ' ')
            + QString::fromUtf8(pick(rng, kSeconds));
    return text + extra(rng, rng.below(100), context);
}

QString unicodeEmoji(Rng& rng)
{
    return QString::fromUtf8(pick(rng, kEmoji));
}

} // namespace stage

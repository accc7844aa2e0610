// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// Each event of events.txt by itself: the rows that it takes away and brings, what it tells, that
// ids may come as texts or as numbers, and that it does nothing at all when one of its required
// fields is absent, null or of another type.

#include "store_fixture.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QStringList>

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <set>

namespace {

struct EventCase {
    std::string name;
    std::string what;
    std::string before; // SQL
    std::string data; // JSON
    std::string rows; // as lineDifference
    std::string told; // as outcomeText
    std::string required; // paths of fields, between spaces
};

std::vector<EventCase> readCases()
{
    std::vector<EventCase> cases;
    auto const isWorld = [](EventCase const& c) { return c.name == "world"; };
    std::ifstream file(NAKWIRE_TEST_DATA "/events.txt");
    for (std::string line; std::getline(file, line);) {
        switch (line.empty() ? '#' : line[0]) {
        case '#':
            break;
        case '=':
            cases.emplace_back();
            cases.back().name = line.substr(3, line.find(':') - 3);
            cases.back().what = line.substr(line.find(':') + 2);
            break;
        case '@':
            for (auto const& c : cases) {
                if (isWorld(c) && c.what == line.substr(2))
                    cases.back().before = c.before;
            }
            break;
        case '$':
            cases.back().before += line.substr(2);
            break;
        case '>':
            cases.back().told = line.substr(2);
            break;
        case '!':
            cases.back().required = line.substr(2);
            break;
        default:
            bool const isRow = line[0] == '-' || line[0] == '+';
            (isRow ? cases.back().rows : cases.back().data) += line + "\n";
        }
    }
    cases.erase(std::remove_if(cases.begin(), cases.end(), isWorld), cases.end());
    EXPECT_GT(cases.size(), 50U);
    return cases;
}

// The document with the field at a path of at most two keys replaced, or removed for undefined.
QByteArray withField(std::string const& json, QString const& path, QJsonValue const& value)
{
    auto const replaced = [](QJsonObject object, QString const& key, QJsonValue const& to) {
        if (to.isUndefined())
            object.remove(key);
        else
            object.insert(key, to);
        return object;
    };
    auto root = QJsonDocument::fromJson(QByteArray::fromStdString(json)).object();
    auto const keys = path.split(QLatin1Char('.'));
    if (keys.size() == 1)
        root = replaced(root, keys[0], value);
    else
        root.insert(keys[0], replaced(root.value(keys[0]).toObject(), keys[1], value));
    return QJsonDocument(root).toJson(QJsonDocument::Compact);
}

// In a store of its own.
void expectOutcome(EventCase const& c, QString const& data)
{
    SCOPED_TRACE(c.name + ": " + c.what + "\n" + data.toStdString());
    Store store;
    store.state.ownUserId = FlakeId(1);
    store.exec(c.before);
    auto const before = store.dump();
    auto const outcome = store.dispatch(c.name.c_str(), data.toUtf8());
    EXPECT_EQ(lineDifference(before, store.dump()), c.rows);
    EXPECT_EQ(outcomeText(outcome), c.told);
    EXPECT_EQ(sqlite3_get_autocommit(store.db), 1) << "a transaction was left open";
}

} // namespace

TEST(DisEvents, EachWritesItsRowsAndTellsWhatItDid)
{
    QRegularExpression const textsOfNumbers(QStringLiteral("\"([1-9][0-9]*)\""));
    for (auto const& c : readCases()) {
        auto const data = QString::fromStdString(c.data);
        expectOutcome(c, data);
        expectOutcome(c, QString(data).replace(textsOfNumbers, QStringLiteral("\\1")));
    }
}

TEST(DisEvents, WithoutARequiredFieldNothingHappens)
{
    QJsonValue const wrong[] = {
        QJsonValue(QJsonValue::Undefined),
        QJsonValue(QJsonValue::Null),
        QJsonValue(true),
        QJsonValue(1.5),
        QJsonValue(QString()),
        QJsonValue(QJsonObject()),
        QJsonValue(QStringLiteral("12x")),
        QJsonValue(QStringLiteral("123456789012345678901")),
        QJsonValue(QStringLiteral("18446744073709551615")) // the invalid id
    };
    // READY has a test of its own; the others that are left do without any field.
    std::set<std::string> untried;
    for (auto const* name : DisClientImpl::handledEventNames())
        untried.insert(name);
    for (auto const& c : readCases()) {
        Store store;
        store.state.ownUserId = FlakeId(1);
        store.exec(c.before);
        auto const before = store.dump();
        auto const required = QString::fromStdString(c.required);
        for (auto const& path : required.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
            untried.erase(c.name);
            for (auto const& value : wrong) {
                auto const data = withField(c.data, path, value);
                EXPECT_EQ(outcomeText(store.dispatch(c.name.c_str(), data)), "")
                    << c.name << ' ' << data.constData();
                ASSERT_EQ(lineDifference(before, store.dump()), "")
                    << c.name << ' ' << data.constData();
            }
        }
    }
    EXPECT_EQ(untried,
              (std::set<std::string>{ "GUILD_DELETE", "READY", "RESUMED", "USER_SETTINGS_UPDATE",
                                      "VOICE_SERVER_UPDATE" }));
}

TEST(DisEvents, WithoutAnOwnUserNothingIsWrittenForIt)
{
    for (auto const* name : { "MESSAGE_ACK", "USER_SETTINGS_UPDATE", "USER_GUILD_SETTINGS_UPDATE",
                              "RELATIONSHIP_ADD", "RELATIONSHIP_REMOVE", "CHANNEL_DELETE" }) {
        Store store;
        auto const outcome = store.dispatch(
            name, R"({"id": "3", "channel_id": "4", "message_id": "5", "guild_id": "6",
                      "guild_positions": ["7"], "type": 1})");
        EXPECT_EQ(outcomeText(outcome) + store.dump(), "") << name;
    }
}

// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "text_fixture.h"

#include <QGuiApplication>
#include <QPalette>
#include <QTextBlock>

// Names: users 1 ann#0001, 2 bob#0002, 3 without a discriminator; channel 20 #general in guild 10;
// roles 30 (red), 31 (no colour); user 1 has role 30; emoji 40 "wave", 41 "spin" (animated) and
// 42 "wave" again, of guild 10.
static constexpr char names[] = R"sql(
insert into guild (id, name, owner_id) values (10, 'home', 1);
insert into user (id, name, discrim) values (1, 'ann', '0001'), (2, 'bob', '0002'), (3, 'cy', null);
insert into any_channel (id, type) values (20, 1);
insert into guild_channel (id, guild_id, parent_id, position, name, rate_limit_per_user)
    values (20, 10, 0, 0, 'general', 0);
insert into role (id, guild_id, name, color, position) values (10, 10, '@everyone', 0, 0),
    (30, 10, 'staff', 16711680, 2), (31, 10, 'plain', 0, 1);
insert into guild_member (guild_id, user_id) values (10, 1), (10, 2);
insert into guild_member_role (user_id, role_id) values (1, 30);
insert into emoji (id, name, animated) values (40, 'wave', 0), (41, 'spin', 1), (42, 'wave', 0);
insert into emoji_guild (emoji_id, guild_id) values (40, 10), (41, 10), (42, 10);
)sql";

TextFixture::TextFixture()
{
    preferences.messageBufferFont = QFont(QStringLiteral("DejaVu Sans"), 10);
    preferences.messageMonospaceFont = QFont(QStringLiteral("DejaVu Sans Mono"), 10);
    run(names);
    emoji = std::make_unique<DisEmojiImages>(dir.filePath(QStringLiteral("emoji.nakdb")), QString(),
                                             nullptr);
    g_disEmojiImages = emoji.get();
    manager = std::make_unique<DisTextDocumentManager>();
    g_disTextDocumentManager = manager.get();
}

TextFixture::~TextFixture()
{
    g_disTextDocumentManager = nullptr;
    manager.reset();
    g_disEmojiImages = nullptr;
    emoji.reset();
}

namespace {

QString role(QTextCharFormat const& format)
{
    QStringList words;
    auto const add = [&words](bool has, QString const& word) {
        if (has)
            words.append(word);
    };
    QBrush const dim = QGuiApplication::palette().brush(QPalette::Disabled, QPalette::Text);
    add(format.font().family() == QLatin1String("DejaVu Sans Mono"), QStringLiteral("mono"));
    add(format.fontWeight() == 75, QStringLiteral("bold"));
    add(format.fontItalic(), QStringLiteral("italic"));
    add(format.underlineStyle() == QTextCharFormat::SingleUnderline, QStringLiteral("underlined"));
    add(format.isAnchor(), QLatin1Char('>') + format.anchorHref());
    add(format.hasProperty(QTextFormat::ForegroundBrush),
        format.foreground() == dim ? QStringLiteral("dim") : format.foreground().color().name());
    add(format.background().color() == QColor(0, 0, 0, 30), QStringLiteral("shaded"));
    return words.join(QLatin1Char(' '));
}

} // namespace

std::string dump(QTextDocument const& document)
{
    QStringList lines;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        QString line;
        if (block.blockFormat().leftMargin() == 5.0)
            line += QStringLiteral("fence ");
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            QTextCharFormat const format = it.fragment().charFormat();
            QTextImageFormat const image = format.toImageFormat();
            line += format.isImageFormat()
                ? QStringLiteral("[%1 %2 %3]")
                      .arg(image.name(), image.toolTip())
                      .arg(image.height())
                : QStringLiteral("[%1|%2]").arg(role(format), it.fragment().text());
        }
        lines.append(line);
    }
    return lines.join(QLatin1Char('\n')).toStdString();
}

// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_admin_words.h"

#include "dis_client.h"
#include "dis_request.h"

#include <QCoreApplication>
#include <QLocale>
#include <QRegularExpression>
#include <QUrl>

#include <algorithm>
#include <iterator>

namespace {

struct Action {
    qint32 type;
    char const* text;
};
// The service's numbers, ascending.
constexpr Action actions[] = {
    { 1, QT_TRANSLATE_NOOP("DisAdmin", "Changed the server") },
    { 10, QT_TRANSLATE_NOOP("DisAdmin", "Created a channel") },
    { 11, QT_TRANSLATE_NOOP("DisAdmin", "Changed a channel") },
    { 12, QT_TRANSLATE_NOOP("DisAdmin", "Deleted a channel") },
    { 13, QT_TRANSLATE_NOOP("DisAdmin", "Added rights in a channel") },
    { 14, QT_TRANSLATE_NOOP("DisAdmin", "Changed rights in a channel") },
    { 15, QT_TRANSLATE_NOOP("DisAdmin", "Removed rights in a channel") },
    { 20, QT_TRANSLATE_NOOP("DisAdmin", "Removed a member") },
    { 21, QT_TRANSLATE_NOOP("DisAdmin", "Removed inactive members") },
    { 22, QT_TRANSLATE_NOOP("DisAdmin", "Banned") },
    { 23, QT_TRANSLATE_NOOP("DisAdmin", "Lifted a ban") },
    { 24, QT_TRANSLATE_NOOP("DisAdmin", "Changed a member") },
    { 25, QT_TRANSLATE_NOOP("DisAdmin", "Changed a member\u2019s roles") },
    { 30, QT_TRANSLATE_NOOP("DisAdmin", "Created a role") },
    { 31, QT_TRANSLATE_NOOP("DisAdmin", "Changed a role") },
    { 32, QT_TRANSLATE_NOOP("DisAdmin", "Deleted a role") },
    { 40, QT_TRANSLATE_NOOP("DisAdmin", "Created an invite") },
    { 41, QT_TRANSLATE_NOOP("DisAdmin", "Changed an invite") },
    { 42, QT_TRANSLATE_NOOP("DisAdmin", "Revoked an invite") },
    { 50, QT_TRANSLATE_NOOP("DisAdmin", "Created a webhook") },
    { 51, QT_TRANSLATE_NOOP("DisAdmin", "Changed a webhook") },
    { 52, QT_TRANSLATE_NOOP("DisAdmin", "Deleted a webhook") },
    { 60, QT_TRANSLATE_NOOP("DisAdmin", "Added an emoji") },
    { 61, QT_TRANSLATE_NOOP("DisAdmin", "Changed an emoji") },
    { 62, QT_TRANSLATE_NOOP("DisAdmin", "Deleted an emoji") },
    { 72, QT_TRANSLATE_NOOP("DisAdmin", "Deleted messages") },
};

QString tr(char const* text)
{
    return QCoreApplication::translate("DisAdmin", text);
}

constexpr qint64 hour = 3'600; // seconds
constexpr qint64 day = 24 * hour;

} // namespace

QString DisAdminWords::problem(DisRequest const& request)
{
    switch (request.error()) {
    case DisRequest::Error::None:
        return {};
    case DisRequest::Error::NoSession:
        return tr("The account is not connected.");
    case DisRequest::Error::Network:
        return request.refusal().isEmpty() ? tr("Discord did not answer the request.")
                                           : tr("Discord refused: %1").arg(request.refusal());
    case DisRequest::Error::BadReply:
        break;
    }
    return tr("Discord\u2019s answer could not be read.");
}

QString DisAdminWords::inviteLink(QString const& code)
{
    return g_disClient->constants().inviteUrl + u'/'
        + QString::fromLatin1(QUrl::toPercentEncoding(code));
}

QString DisAdminWords::inviteCodeOf(QString const& input)
{
    static QRegularExpression const pattern(
        QStringLiteral("^(?:(?:https?://)?(?:www\\.)?(?:discord\\.gg/(?:invite/)?|"
                       "discord(?:app)?\\.com/invite/))?([A-Za-z0-9-]{2,64})/?(?:[?#].*)?$"),
        QRegularExpression::CaseInsensitiveOption);
    QString text = input.trimmed();
    QString const base = g_disClient->constants().inviteUrl + u'/';
    if (text.startsWith(base))
        text.remove(0, base.size());
    return pattern.match(text).captured(1);
}

QString DisAdminWords::validity(qint64 seconds)
{
    if (seconds <= 0)
        return tr("Never ends");
    if (seconds % day == 0)
        return seconds == day ? tr("1 day") : tr("%1 days").arg(seconds / day);
    if (seconds % hour == 0)
        return seconds == hour ? tr("1 hour") : tr("%1 hours").arg(seconds / hour);
    return tr("%1 minutes").arg((seconds + 59) / 60);
}

QString DisAdminWords::auditAction(qint32 type)
{
    auto const* const found =
        std::lower_bound(std::begin(actions), std::end(actions), type,
                         [](Action const& one, qint32 wanted) { return one.type < wanted; });
    if (found == std::end(actions) || found->type != type)
        return tr("Action %1").arg(type);
    return tr(found->text);
}

QString DisAdminWords::moment(QDateTime const& when)
{
    return when.isValid() ? QLocale().toString(when.toLocalTime(), QLocale::ShortFormat)
                          : QString();
}

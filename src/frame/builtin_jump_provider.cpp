// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "builtin_jump_provider.h"

#include "jump_manager.h"
#include "notif_manager.h"

#include <array>

namespace NakBuiltinJumpMatcherImpl {

struct View {
    NakNav::BuiltinView::Type view;
    char const* title;
    ushort glyph; // as on its tab
};
// By item number, which is the relevance too.
constexpr std::array<View, 2> views = { {
    { NakNav::BuiltinView::Type::Notifications, "Notifications", 61545 },
    { NakNav::BuiltinView::Type::Accounts, "Accounts", 61632 },
} };
constexpr unsigned int notificationsItem = 0;

class Matcher : public NakJumpMatcher {
public:
    explicit Matcher(NakJump::MatcherCtorParams const& params);

    void setQueryString(QString const& query) override;
    void paintItem(QPainter* painter, QRegion const& region, unsigned int item,
                   NakJump::PaintOptions const& options) override;
    int itemHeight(unsigned int item) override;
    void activated(unsigned int item, NakJump::ActivationOpts const& options) override;

private:
    bool matches(unsigned int item) const;
    void update();
    void updateCount();

    QString m_query;
    quint32 m_shown = 0; // a bit for each item
    std::array<NakJump::RowText, views.size()> m_texts;
};

int notificationCount()
{
    return NakNotif::g_nakNotifManager ? NakNotif::g_nakNotifManager->count() : 0;
}

Matcher::Matcher(NakJump::MatcherCtorParams const& params)
    : NakJumpMatcher(params)
{
    for (size_t item = 0; item < views.size(); ++item)
        m_texts[item] = NakJump::RowText(QLatin1String(views[item].title), QString());
    updateCount();
    if (NakNotif::g_nakNotifManager)
        connect(NakNotif::g_nakNotifManager, &NakNotifManager::countChanged, this, [this] {
            updateCount();
            update();
        });
}

void Matcher::setQueryString(QString const& query)
{
    m_query = query;
    update();
}

// Without a query only what waits for the user is offered.
bool Matcher::matches(unsigned int item) const
{
    if (m_query.isEmpty())
        return item == notificationsItem && notificationCount() > 0;
    return QLatin1String(views[item].title).startsWith(m_query, Qt::CaseInsensitive);
}

void Matcher::update()
{
    QVector<unsigned int> removed;
    NakJump::Added added;
    for (unsigned int item = 0; item < views.size(); ++item) {
        quint32 const bit = 1U << item;
        bool const wanted = matches(item);
        if (wanted == ((m_shown & bit) != 0))
            continue;
        m_shown ^= bit;
        if (wanted)
            added.append({ item, { static_cast<qint32>(item), 0 } });
        else
            removed.append(item);
    }
    updateMatches(removed, added);
}

void Matcher::updateCount()
{
    int const count = notificationCount();
    m_texts[notificationsItem] = NakJump::RowText(QLatin1String(views[notificationsItem].title),
                                                  count > 0 ? QString::number(count) : QString());
    invalidateItem(notificationsItem);
}

void Matcher::paintItem(QPainter* painter, QRegion const& /*region*/, unsigned int item,
                        NakJump::PaintOptions const& options)
{
    drawBackground(painter, options);
    drawGlyph(painter, views[item].glyph, options);
    drawText(painter, &m_texts[item], options);
}

int Matcher::itemHeight(unsigned int /*item*/)
{
    return jumpStyle().rowHeight;
}

void Matcher::activated(unsigned int item, NakJump::ActivationOpts const& options)
{
    openPlace(NakNavLoc::builtin(views[item].view), options);
}

} // namespace NakBuiltinJumpMatcherImpl

NakBuiltinJumpProvider::NakBuiltinJumpProvider(QObject* parent)
    : QObject(parent)
{
    NakJump::g_nakJumpManager->addJumpProvider(this);
}

NakBuiltinJumpProvider::~NakBuiltinJumpProvider()
{
    NakJump::g_nakJumpManager->removeJumpProvider(this);
}

NakJumpMatcher* NakBuiltinJumpProvider::createJumpMatcher(NakJump::MatcherCtorParams const& params)
{
    return new NakBuiltinJumpMatcherImpl::Matcher(params);
}

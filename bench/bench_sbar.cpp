// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// The side bar of an account with 2,000 guilds and 50,000 channels: from the store to the painted
// rows beside a tree view of the toolkit with the same rows and strings in memory; one unread
// message to pixels; a click of the wheel, which brings new rows with pictures and badges.

#include "app_theme.h"
#include "bench_row.h"
#include "deployment.h"
#include "dis_cache.h"
#include "dis_client.h"
#include "dis_manager.h"
#include "global_events.h"
#include "gui_icons.h"
#include "nak_sql.h"
#include "nak_stmt.h"
#include "nakwire_style.h"
#include "preferences.h"
#include "sbar_discord.h"
#include "sbar_view.h"
#include "sbar_view_priv.h"
#include "stage.h"

#include <QApplication>
#include <QScrollBar>
#include <QStandardItemModel>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeView>

#include <malloc.h>

#include <string>

namespace {

int guildCount = 2000; // fewer where instructions are counted, which takes long
constexpr int categoriesPerGuild = 4;
constexpr int channelsPerGuild = 25; // one in five for voice
constexpr int rowsPerGuild = 1 + categoriesPerGuild + channelsPerGuild;
constexpr int unreadGuilds = 40;
constexpr QSize viewSize(260, 900);
constexpr int rounds = 7;
constexpr int unreadRounds = 201;
constexpr int stepsOfOnce = 40;
constexpr double goalBuildRatio = 0.2;
constexpr double goalBuildByRowsRatio = 1; // such a tree knows no heights
constexpr double goalBytesRatio = 0.5;
constexpr double goalUnreadMs = 0.3;
constexpr double goalStepInstructions = 0.8e6;

quint64 guildId(int guild)
{
    return quint64(guild + 1) * 1000;
}
quint64 categoryId(int guild, int category)
{
    return guildId(guild) + 100 + quint64(category);
}
quint64 channelId(int guild, int channel)
{
    return guildId(guild) + 200 + quint64(channel);
}
bool isVoice(int channel)
{
    return channel % 5 == 4;
}
// -1 for a channel of the guild itself.
int categoryOf(int channel)
{
    return channel % (categoriesPerGuild + 1) - 1;
}
QString channelName(int channel)
{
    return QStringLiteral("channel about something %1").arg(channel);
}

class Scene {
public:
    Scene();
    ~Scene();
    void makeView();

    std::unique_ptr<NakSbarView> view;
    std::unique_ptr<DisManager> manager;

private:
    void signIn();
    void fillStore();
    void fillGuild(int guild);
    void insert(char const* text, std::initializer_list<qint64> numbers, QString const& name = {});
    void makeSomeUnread();

    QTemporaryDir m_dir;
    stage::Stage m_service;
    NakGlobalEvents m_events;
    NakPreferences m_preferences;
    NakGuiIcons m_icons;
    std::unique_ptr<DisClient> m_client;
    qint64 m_me = 0;
};

Scene::Scene()
    : m_service([] {
        stage::StageOptions options;
        options.world.guilds = 0;
        options.world.privateChannels = 1;
        return options;
    }())
{
    g_globalEvents = &m_events;
    g_preferences = &m_preferences;
    g_guiIcons = &m_icons;
    signIn();
    fillStore();
    makeSomeUnread();
}

Scene::~Scene()
{
    view.reset();
    manager.reset();
    g_disManager = nullptr;
    DisCache::destroyGlobalData();
    m_client.reset();
    g_disClient = nullptr;
    g_guiIcons = nullptr;
    g_preferences = nullptr;
    g_globalEvents = nullptr;
}

void Scene::signIn()
{
    NakDeployment deployment;
    deployment.discordApiUrl = m_service.apiUrl();
    m_client = std::make_unique<DisClient>(DisClientConstants::fromDeployment(deployment),
                                           m_dir.filePath(QStringLiteral("store")), nullptr);
    g_disClient = m_client.get();
    DisCache::createGlobalData();
    manager = std::make_unique<DisManager>(m_dir.filePath(QStringLiteral("accounts")), nullptr);
    g_disManager = manager.get();
    manager->setForegroundChannelsProvider([] { return DisForegroundChannels(); });
    manager->connectWithAccount(manager->createAccountWithToken(QStringLiteral("token")));
    bool const signedIn =
        QTest::qWaitFor([this] { return manager->activeUserId().isValid(); }, 20000);
    if (!signedIn) {
        fprintf(stderr, "the stage did not let the account in\n");
        exit(1);
    }
    m_me = qint64(manager->activeUserId().value());
}

void Scene::insert(char const* text, std::initializer_list<qint64> numbers, QString const& name)
{
    NakStmt stmt(m_client->db(), text);
    int index = 0;
    for (qint64 const number : numbers)
        stmt.bind(++index, static_cast<long long>(number));
    if (!name.isNull())
        stmt.bind(++index, name);
    stmt.step();
}

void Scene::fillStore()
{
    {
        NakSqlTransaction const transaction(m_client->db());
        for (int guild = 0; guild < guildCount; ++guild)
            fillGuild(guild);
    }
    m_client->postLocalChanges(DisChanges::reload());
}

void Scene::fillGuild(int guild)
{
    auto const id = qint64(guildId(guild));
    insert("insert into guild (id, owner_id, name) values (?, 1, ?)", { id },
           QStringLiteral("guild number %1").arg(guild));
    insert("insert into role (id, guild_id, position, permissions, name) values (?, ?, 0, 1024, ?)",
           { id, id }, QStringLiteral("@everyone"));
    insert("insert into guild_member (guild_id, user_id) values (?, ?)", { id, m_me });
    for (int n = 0; n < categoriesPerGuild; ++n)
        insert("insert into guild_channel_category (id, guild_id, parent_id, position, name) "
               "values (?, ?, -1, ?, ?)",
               { qint64(categoryId(guild, n)), id, n }, QStringLiteral("category %1").arg(n));
    for (int n = 0; n < channelsPerGuild; ++n) {
        int const category = categoryOf(n);
        qint64 const parent = category < 0 ? -1 : qint64(categoryId(guild, category));
        auto const channel = qint64(channelId(guild, n));
        insert(isVoice(n) ? "insert into guild_voice_channel (id, guild_id, parent_id, position, "
                            "bitrate, user_limit, name) values (?, ?, ?, ?, 0, 0, ?)"
                          : "insert into guild_channel (id, guild_id, parent_id, position, "
                            "rate_limit_per_user, name) values (?, ?, ?, ?, 0, ?)",
               { channel, id, parent, n * 7 % channelsPerGuild }, channelName(n));
        insert("insert into any_channel (id, type) values (?, ?)", { channel, isVoice(n) ? 2 : 1 });
    }
}

void Scene::makeSomeUnread()
{
    for (int guild = 0; guild < unreadGuilds; ++guild) {
        DisChanges changes;
        for (int n = 0; n < channelsPerGuild; ++n)
            changes.add(DisChange::ChangeType::MessageCreated,
                        FlakeId((quint64(1) << 61) + quint64(n)), FlakeId(channelId(guild, n)),
                        FlakeId(77));
        m_client->postLocalChanges(changes);
    }
    QTest::qWait(20);
}

void Scene::makeView()
{
    view = std::make_unique<NakSbarView>(nullptr);
    view->resize(viewSize);
    view->show();
    do
        QApplication::processEvents();
    while (NakSbar::isReading(view->priv())); // which it does share by share
    QApplication::processEvents(); // and paints what the last one brought
}

// The toolkit's tree with the same rows, in memory. It scrolls by pixels, as the side bar does and
// the trees of the other benches, and so knows the height of each row; or by whole rows.
struct Tree {
    QStandardItemModel model;
    QTreeView view;

    explicit Tree(QAbstractItemView::ScrollMode scrolling = QAbstractItemView::ScrollPerPixel)
    {
        for (int guild = 0; guild < guildCount; ++guild)
            model.appendRow(makeGuild(guild));
        view.setHeaderHidden(true);
        view.setVerticalScrollMode(scrolling);
        view.setModel(&model);
        view.expandAll();
        view.resize(viewSize);
        view.show();
        QApplication::processEvents();
    }

    static QStandardItem* makeGuild(int guild)
    {
        auto* const item = new QStandardItem(QStringLiteral("guild number %1").arg(guild));
        QStandardItem* parents[categoriesPerGuild + 1] = { item };
        for (int n = 0; n < categoriesPerGuild; ++n)
            parents[n + 1] = new QStandardItem(QStringLiteral("category %1").arg(n));
        for (int n = channelsPerGuild - 1; n >= 0; --n)
            parents[categoryOf(n) + 1]->appendRow(new QStandardItem(channelName(n)));
        for (int n = 0; n < categoriesPerGuild; ++n)
            item->appendRow(parents[n + 1]);
        return item;
    }
};

size_t heapBytes()
{
    auto const info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

template <typename Make> double bytesPerRow(Make make)
{
    size_t const before = heapBytes();
    make();
    return double(heapBytes() - before) / (guildCount * rowsPerGuild);
}

void measureBuilding(Scene& scene)
{
    std::unique_ptr<Tree> tree;
    double const ourBytes = bytesPerRow([&] { scene.makeView(); });
    double const treeBytes = bytesPerRow([&] { tree = std::make_unique<Tree>(); });
    std::vector<double> ours;
    std::vector<double> theirs;
    std::vector<double> theirsByRows;
    for (int round = 0; round < rounds; ++round) {
        scene.view.reset();
        tree.reset();
        ours.push_back(Bench::secondsOf([&] { scene.makeView(); }));
        theirs.push_back(Bench::secondsOf([&] { tree = std::make_unique<Tree>(); }));
        tree.reset();
        theirsByRows.push_back(Bench::secondsOf(
            [&] { tree = std::make_unique<Tree>(QAbstractItemView::ScrollPerItem); }));
    }
    Bench::printRow("sbar-build", "ms", Bench::median(ours) * 1e3, Bench::median(theirs) * 1e3,
                    Bench::Goal::AtMost, goalBuildRatio);
    Bench::printRow("sbar-build/tree-by-rows", "ms", Bench::median(ours) * 1e3,
                    Bench::median(theirsByRows) * 1e3, Bench::Goal::AtMost, goalBuildByRowsRatio);
    Bench::printRow("sbar-bytes-per-row", "B", ourBytes, treeBytes, Bench::Goal::AtMost,
                    goalBytesRatio);
}

void measureUnread(Scene& scene)
{
    std::vector<double> times;
    FlakeId const channel(channelId(guildCount - 1, 1));
    for (int round = 0; round < unreadRounds; ++round) {
        DisChanges changes;
        changes.add(DisChange::ChangeType::MessageCreated, FlakeId((quint64(1) << 62) + round),
                    channel, FlakeId(77));
        scene.manager->blockSignals(true);
        g_disClient->postLocalChanges(changes);
        QTest::qWait(3); // the manager gathers changes of a moment
        scene.manager->blockSignals(false);
        times.push_back(Bench::secondsOf([&] {
            NakSbar::disChanUnreadCountersChanged(
                scene.view->priv(), { { channel, scene.manager->channelUnreadCount(channel) } });
            QApplication::processEvents();
        }));
    }
    Bench::printRow("sbar-unread-to-pixels", "ms", Bench::median(times) * 1e3, goalUnreadMs,
                    Bench::Goal::AtMost, 1);
}

Scene* onceScene = nullptr;

} // namespace

extern "C" __attribute__((noinline)) void bench_once()
{
    QScrollBar* const bar = onceScene->view->verticalScrollBar();
    for (int i = 0; i < stepsOfOnce; ++i) {
        bar->setValue(bar->value() + bar->singleStep());
        QApplication::processEvents();
    }
}

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication const app(argc, argv);
    // As the program sets them; the toolkit's own scroll bar alone costs most of a step.
    QApplication::setStyle(new NakwireStyle);
    NakAppTheme::setGlobalThemeColors(NakAppTheme::namedThemeColors(NakAppTheme::Carbon));
    QApplication::setPalette(
        NakAppTheme::themeColorsToPalette(NakAppTheme::getGlobalThemeColors()));
    bool const once = argc > 1 && std::string(argv[1]) == "--once";
    if (once)
        guildCount = 2 * unreadGuilds;
    Scene scene;
    if (once) {
        scene.makeView();
        // Among the guilds with unread channels, which are the last.
        int const unreadLength = scene.view->rootLength() / guildCount * unreadGuilds;
        scene.view->verticalScrollBar()->setValue(scene.view->rootLength() - unreadLength / 2);
        QApplication::processEvents();
        onceScene = &scene;
        bench_once();
        printf("sbar-scroll-step\tinstr/step\t%d\t%.0f\n", stepsOfOnce, goalStepInstructions);
        return 0;
    }
    measureBuilding(scene);
    measureUnread(scene);
    return 0;
}

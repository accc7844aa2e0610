// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// LitItemView beside QTreeView, UniListView beside QListView: the same rows in the same style and
// viewport. A tree has groups of 200 rows, all of them open. Our views keep what the side bar and
// the lists keep: a small record per row, and shaped text of visible rows only.

#include "bench_row.h"
#include "lit_item_view.h"
#include "nakwire_style.h"
#include "uni_list_view.h"

#include <QApplication>
#include <QFile>
#include <QListView>
#include <QPainter>
#include <QScrollBar>
#include <QSharedPointer>
#include <QStandardItemModel>
#include <QStaticText>
#include <QStringListModel>
#include <QTreeView>

#include <malloc.h>

#include <functional>
#include <memory>
#include <string>

namespace {

constexpr int treeRows = 50'000;
constexpr int rowsOfGroup = 200;
constexpr int listRows = 100'000;
constexpr int pixelsOfRow = 18;
constexpr int stepPixels = 54;
constexpr int stepsOfOnce = 20;
constexpr int editsOfOnce = 1000;
constexpr int rounds = 9;
constexpr double goalStepInstructions = 600e3;
constexpr double goalEditInstructions = 2000;
constexpr QSize viewSize(260, 900);

QString nameOf(int row)
{
    return QStringLiteral("channel-%1").arg(row);
}

QStaticText shaped(int row, QFont const& font)
{
    QStaticText text(nameOf(row));
    text.setTextFormat(Qt::PlainText);
    text.prepare(QTransform(), font);
    return text;
}

class Tree : public LitItemView {
public:
    struct Info {
        quint64 payload[3];
        int kind;
        int row;
    };

    explicit Tree(int rows)
    {
        beginEdit();
        unsigned int const style = createStyle(pixelsOfRow);
        unsigned int group = rootItem();
        for (int row = 0; row < rows; ++row) {
            unsigned int const item = createItem();
            m_infos.resize(static_cast<int>(item) + 1);
            m_infos.last().row = row;
            setItemStyle(item, style);
            bool const head = row % rowsOfGroup == 0;
            appendChild(head ? rootItem() : group, item);
            group = head ? item : group;
        }
        endEdit();
    }

protected:
    void visibleItemsChanged() override
    {
        QHash<unsigned int, QStaticText> old;
        old.swap(m_texts);
        for (LitVisibleItem const& visible : visibleItems()) {
            auto const known = old.constFind(visible.item);
            m_texts.insert(visible.item,
                           known != old.cend()
                               ? *known
                               : shaped(m_infos[static_cast<int>(visible.item)].row, font()));
        }
    }

    void paintItem(QPainter* painter, unsigned int item, QRect const& itemRect,
                   QRect const& /*fullRect*/, QRegion const& region) override
    {
        if (item != rootItem() && region.intersects(itemRect)) {
            painter->drawStaticText(itemRect.topLeft(), *m_texts.constFind(item));
        }
    }

private:
    QVector<Info> m_infos;
    QHash<unsigned int, QStaticText> m_texts;
};

class List : public UniListView<int, QSharedPointer<QStaticText>> {
public:
    explicit List(int rows)
    {
        for (int row = 0; row < rows; ++row) {
            m_keys.append(row);
        }
        setRowHeight(pixelsOfRow);
        listingChanged();
    }

protected:
    void keysList(int const** keys, int* count) override
    {
        *keys = m_keys.constData();
        *count = m_keys.size();
    }
    void paintItem(QPainter* painter, QRegion const& /*region*/, QRect const& rect,
                   int const& /*key*/, QSharedPointer<QStaticText> const& vis) override
    {
        painter->drawStaticText(rect.topLeft(), *vis);
    }
    QSharedPointer<QStaticText> mapItem(int const& key) override
    {
        return QSharedPointer<QStaticText>::create(shaped(key, font()));
    }
    void unmapItem(int const& /*key*/, QSharedPointer<QStaticText> const& /*vis*/) override { }

private:
    QVector<int> m_keys;
};

using View = std::unique_ptr<QAbstractScrollArea>;

View shown(QAbstractScrollArea* view)
{
    view->resize(viewSize);
    view->show();
    QApplication::processEvents();
    return View(view);
}

View ourTree(int rows)
{
    return shown(new Tree(rows));
}

View qtTree(int rows)
{
    auto* const view = new QTreeView;
    auto* const model = new QStandardItemModel(view);
    QStandardItem* group = nullptr;
    for (int row = 0; row < rows; ++row) {
        auto* const item = new QStandardItem(nameOf(row));
        if (row % rowsOfGroup == 0) {
            model->appendRow(item);
            group = item;
        } else {
            group->appendRow(item);
        }
    }
    view->setHeaderHidden(true);
    view->setModel(model);
    view->expandAll();
    view->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    return shown(view);
}

View ourList(int rows)
{
    return shown(new List(rows));
}

View qtList(int rows)
{
    auto* const view = new QListView;
    QStringList names;
    for (int row = 0; row < rows; ++row) {
        names.append(nameOf(row));
    }
    view->setModel(new QStringListModel(names, view));
    view->setUniformItemSizes(true);
    view->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    return shown(view);
}

void scrollToThird(QAbstractScrollArea& view)
{
    view.verticalScrollBar()->setValue(view.verticalScrollBar()->maximum() / 3);
    QApplication::processEvents();
}

void stepDown(QAbstractScrollArea& view)
{
    QScrollBar* const bar = view.verticalScrollBar();
    for (int i = 0; i < stepsOfOnce; ++i) {
        bar->setValue(bar->value() + stepPixels);
        QApplication::processEvents();
    }
}

std::function<void()> once;
std::function<void()> floorOfOnce;

// --- what script/bench counts the instructions of ---

using MakeView = View (*)(int rows);

} // namespace

extern "C" __attribute__((noinline)) void bench_once()
{
    once();
}

extern "C" __attribute__((noinline)) void bench_floor()
{
    floorOfOnce();
}

namespace {

void countSteps(char const* name, int rows, MakeView makeOurs, MakeView makeFloor)
{
    View const ours = makeOurs(rows);
    View const floor = makeFloor(rows);
    scrollToThird(*ours);
    scrollToThird(*floor);
    once = [&ours] { stepDown(*ours); };
    floorOfOnce = [&floor] { stepDown(*floor); };
    bench_once();
    bench_floor();
    printf("%s\tinstr/step\t%d\t%.0f\tfloor\n", name, stepsOfOnce, goalStepInstructions);
}

// An item this deep in a tree of 50,000 others gets another height, and back.
void countEdits(int depth)
{
    Tree tree(treeRows);
    unsigned int const styles[] = { tree.createStyle(20), tree.createStyle(30) };
    tree.beginEdit();
    unsigned int item = tree.rootItem();
    for (int i = 0; i < depth; ++i) {
        unsigned int const child = tree.createItem();
        tree.appendChild(item, child);
        item = child;
    }
    once = [&] {
        for (int i = 0; i < editsOfOnce; ++i) {
            tree.setItemStyle(item, styles[i % 2]);
        }
    };
    bench_once();
    tree.endEdit();
    printf("tree-edit-depth-%d\tinstr/edit\t%d\t%.0f\n", depth, editsOfOnce, goalEditInstructions);
}

struct Variant {
    char const* name;
    void (*count)();
};

constexpr Variant variants[] = {
    { "tree-step", [] { countSteps("tree-step", treeRows, ourTree, qtTree); } },
    { "list-step", [] { countSteps("list-step", listRows, ourList, qtList); } },
    { "edit-1", [] { countEdits(1); } },
    { "edit-4", [] { countEdits(4); } },
    { "edit-16", [] { countEdits(16); } },
    { "edit-64", [] { countEdits(64); } },
};

} // namespace

extern "C" void bench_variants()
{
    for (Variant const& variant : variants) {
        puts(variant.name);
    }
}

namespace {

// --- what is timed and weighed ---

double anonymousBytes()
{
    malloc_trim(0);
    QFile file(QStringLiteral("/proc/self/smaps_rollup"));
    if (file.open(QIODevice::ReadOnly)) {
        for (QByteArray const& line : file.readAll().split('\n')) {
            if (line.startsWith("Anonymous:")) {
                return line.simplified().split(' ')[1].toDouble() * 1024;
            }
        }
    }
    return 0;
}

// What rows beyond the first of them add, so that windows and fonts do not count.
double bytesPerRow(MakeView make, int rows)
{
    View const small = make(rowsOfGroup);
    double const before = anonymousBytes();
    View const other = make(rowsOfGroup);
    double const window = anonymousBytes() - before;
    View const view = make(rows);
    return (anonymousBytes() - before - 2 * window) / (rows - rowsOfGroup);
}

void compare(char const* name, int rows, MakeView ours, MakeView floor, double goalTime,
             double goalBytes)
{
    double const ourBytes = bytesPerRow(ours, rows);
    double const floorBytes = bytesPerRow(floor, rows);
    auto const times = Bench::mediansInTurn(
        rounds, [&] { ours(rows); }, [&] { floor(rows); });
    std::string const prefix = name;
    Bench::printRow((prefix + "-ready").c_str(), "ms", times[0] * 1e3, times[1] * 1e3,
                    Bench::Goal::AtMost, goalTime);
    Bench::printRow((prefix + "-memory").c_str(), "bytes/row", ourBytes, floorBytes,
                    Bench::Goal::AtMost, goalBytes);
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication const app(argc, argv);
    QApplication::setStyle(new NakwireStyle);
    std::string const mode = argc > 1 ? argv[1] : "";
    if (mode == "--variants") {
        bench_variants();
    }
    for (Variant const& variant : variants) {
        if (mode == "--once" && argc > 2 && std::string(argv[2]) == variant.name) {
            variant.count();
        }
    }
    if (mode.empty()) {
        compare("tree", treeRows, ourTree, qtTree, 1.0 / 10, 1.0 / 6);
        compare("list", listRows, ourList, qtList, 1.0, 1.0 / 6);
    }
    return 0;
}

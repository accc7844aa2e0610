// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "jump_view.h"

#include "empty_hint.h"
#include "jump_manager.h"
#include "jump_view_p.h"
#include "preferences.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStyleOption>
#include <QVBoxLayout>

#include <algorithm>

namespace NakJumpViewImpl {

namespace {

constexpr int edge = 1; // the frame's line
constexpr int inputMargin = 4;
constexpr int maxQueryLength = 200; // characters; no name is longer

// --- rows ---

MatchItem const* findItem(Priv const& d, unsigned int item)
{
    auto const found = std::find_if(d.items.cbegin(), d.items.cend(),
                                    [item](MatchItem const& one) { return one.item == item; });
    return found == d.items.cend() ? nullptr : &*found;
}

std::vector<MatchItem>::iterator findNumber(Priv& d, NakJumpMatcher const* matcher,
                                            unsigned int number)
{
    return std::find_if(d.items.begin(), d.items.end(), [&](MatchItem const& one) {
        return one.matcher == matcher && one.number == number;
    });
}

void invalidateRow(Priv& d, unsigned int item)
{
    d.list->invalidate(d.list->rectForVisibleItem(item));
}

void select(Priv& d, unsigned int item)
{
    if (item == d.selected)
        return;
    unsigned int const before = std::exchange(d.selected, item);
    if (before != noItem && d.list->itemExists(before))
        invalidateRow(d, before);
    if (item == noItem)
        return;
    d.list->ensureItemVisibleWithMinimumScrolling(item);
    invalidateRow(d, item);
}

// From the last row to the first, and the other way round.
void offsetSelection(Priv& d, int offset)
{
    int const count = static_cast<int>(d.items.size());
    if (count == 0)
        return;
    auto const found = std::find_if(d.items.cbegin(), d.items.cend(),
                                    [&](MatchItem const& one) { return one.item == d.selected; });
    int const row = static_cast<int>(found - d.items.cbegin());
    select(d, d.items[static_cast<size_t>((row + offset + count) % count)].item);
}

// By as many rows as fit, up to an end.
void pageSelection(Priv& d, int direction)
{
    int const rows = std::max(1, d.list->viewport()->height() / d.style.rowHeight - 1);
    unsigned int const last = direction > 0 ? d.list->lastChild(d.list->rootItem())
                                            : d.list->firstChild(d.list->rootItem());
    for (int i = 0; i < rows && d.selected != last; ++i)
        offsetSelection(d, direction);
}

void removeItem(Priv& d, std::vector<MatchItem>::iterator item)
{
    unsigned int const style = d.list->itemStyle(item->item);
    d.list->deleteItem(item->item);
    d.list->deleteStyle(style);
    if (d.selected == item->item)
        d.selected = noItem;
    d.items.erase(item);
}

// Existing rows keep their order, so it is enough to put the new ones between them.
void insertNewItems(Priv& d)
{
    unsigned int before = noItem;
    for (MatchItem& one : d.items) {
        if (one.item == noItem) {
            one.item = d.list->createItem(d.list->createStyle(one.matcher->itemHeight(one.number)));
            if (before == noItem)
                d.list->prependChild(d.list->rootItem(), one.item);
            else
                d.list->insertAfter(before, one.item);
        }
        before = one.item;
    }
}

// One row is, and where it can be seen: the next Return opens it.
void showSelected(Priv& d)
{
    if (d.items.empty())
        return;
    if (d.selected == noItem)
        select(d, d.items.front().item);
    else
        d.list->ensureItemVisibleWithMinimumScrolling(d.selected);
}

void matchesUpdated(Priv& d, NakJumpMatcher* matcher, QVector<unsigned int> const& removed,
                    NakJump::Added const& added)
{
    if (removed.isEmpty() && added.isEmpty())
        return;
    d.list->beginEdit();
    for (unsigned int const number : removed) {
        auto const item = findNumber(d, matcher, number);
        if (item != d.items.end())
            removeItem(d, item);
    }
    for (auto const& [number, info] : added)
        d.items.push_back({ matcher, number, info.relevance, info.flags, noItem });
    // Stable, so that rows do not jump about.
    std::stable_sort(d.items.begin(), d.items.end(), [](MatchItem const& a, MatchItem const& b) {
        return a.relevance < b.relevance;
    });
    insertNewItems(d);
    d.list->endEdit();
    showSelected(d);
    d.list->viewport()->update(); // what an empty list says comes and goes too
}

void itemDirtied(Priv& d, NakJumpMatcher const* matcher, unsigned int number, QRect const& rect)
{
    auto const item = findNumber(d, matcher, number);
    if (item == d.items.end())
        return;
    QRect const row = d.list->rectForVisibleItem(item->item);
    d.list->invalidate(rect.isEmpty() ? row : rect.translated(row.topLeft()) & row);
}

// --- matchers ---

void addProvider(Priv& d, QObject* provider)
{
    BoundMatcher bound;
    bound.provider = provider;
    bound.matcher = qobject_cast<INakJumpProvider*>(provider)->createJumpMatcher(
        { d.view, d.chatWindow, &d.style });
    bound.matchesUpdated =
        QObject::connect(bound.matcher, &NakJumpMatcher::matchesUpdated, d.view,
                         [&d, matcher = bound.matcher](auto const& removed, auto const& added) {
                             matchesUpdated(d, matcher, removed, added);
                         });
    bound.itemDirtied = QObject::connect(
        bound.matcher, &NakJumpMatcher::itemDirtied, d.view,
        [&d, matcher = bound.matcher](unsigned int const& number, QRect const& rect) {
            itemDirtied(d, matcher, number, rect);
        });
    d.matchers.append(bound);
}

void removeProvider(Priv& d, QObject* provider)
{
    auto const bound =
        std::find_if(d.matchers.begin(), d.matchers.end(),
                     [provider](BoundMatcher const& one) { return one.provider == provider; });
    if (bound == d.matchers.end())
        return;
    QObject::disconnect(bound->matchesUpdated);
    QObject::disconnect(bound->itemDirtied);
    QVector<unsigned int> numbers;
    for (MatchItem const& one : d.items) {
        if (one.matcher == bound->matcher)
            numbers.append(one.number);
    }
    matchesUpdated(d, bound->matcher, numbers, {});
    delete bound->matcher;
    d.matchers.erase(bound);
}

void tryActivateSelection(Priv& d, bool newTab)
{
    MatchItem const* const selected = findItem(d, d.selected);
    if (!selected)
        return;
    selected->matcher->activated(selected->number, { newTab });
    emit d.view->dismissed();
}

// --- keys of the field ---

using KeyVerb = void (*)(Priv& d);

struct KeyRow {
    int key;
    KeyVerb verb;
};

constexpr KeyVerb down = [](Priv& d) { offsetSelection(d, 1); };
constexpr KeyVerb up = [](Priv& d) { offsetSelection(d, -1); };
constexpr KeyVerb pageDown = [](Priv& d) { pageSelection(d, 1); };
constexpr KeyVerb pageUp = [](Priv& d) { pageSelection(d, -1); };
constexpr KeyVerb activate = [](Priv& d) { tryActivateSelection(d, false); };
constexpr KeyVerb activateInNewTab = [](Priv& d) { tryActivateSelection(d, true); };
constexpr KeyVerb dismiss = [](Priv& d) { emit d.view->dismissed(); };

constexpr KeyRow keys[] = {
    { Qt::Key_Down, down },
    { Qt::CTRL + Qt::Key_N, down },
    { Qt::CTRL + Qt::Key_J, down },
    { Qt::Key_Tab, down },
    { Qt::Key_Up, up },
    { Qt::CTRL + Qt::Key_P, up },
    { Qt::CTRL + Qt::Key_K, up },
    { Qt::SHIFT + Qt::Key_Backtab, up },
    { Qt::Key_PageDown, pageDown },
    { Qt::Key_PageUp, pageUp },
    { Qt::Key_Return, activate },
    { Qt::Key_Enter, activate },
    { Qt::ALT + Qt::Key_Return, activateInNewTab },
    { Qt::ALT + Qt::Key_Enter, activateInNewTab },
    { Qt::Key_Escape, dismiss },
    { Qt::CTRL + Qt::Key_W, dismiss },
};

// Null for a key that the field is to have.
KeyVerb verbOf(QKeyEvent const& event)
{
    int const pressed = event.key() | int(event.modifiers() & ~Qt::KeypadModifier);
    auto const row = std::find_if(std::begin(keys), std::end(keys),
                                  [pressed](KeyRow const& one) { return one.key == pressed; });
    return row == std::end(keys) ? nullptr : row->verb;
}

} // namespace

} // namespace NakJumpViewImpl

using namespace NakJumpViewImpl;

// --- the list ---

NakJumpLitView::NakJumpLitView(Priv* priv, QWidget* parent)
    : LitItemView(parent)
    , d(priv)
{
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus); // the field has the keys
    viewport()->setBackgroundRole(QPalette::Base);
    viewport()->setAutoFillBackground(true);
    viewport()->setMouseTracking(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    verticalScrollBar()->setSingleStep(priv->style.rowHeight);
}

void NakJumpLitView::paintItem(QPainter* painter, unsigned int item, QRect const& itemRect,
                               QRect const& /*fullRect*/, QRegion const& region)
{
    if (MatchItem const* const one = findItem(*d, item))
        one->matcher->paintItem(painter, region, one->number, { itemRect, item == d->selected });
}

void NakJumpLitView::visibleItemsChanged()
{
    for (BoundMatcher const& bound : qAsConst(d->matchers)) {
        QVarLengthArray<unsigned int, 32> numbers;
        for (LitVisibleItem const& visible : visibleItems()) {
            MatchItem const* const one = findItem(*d, visible.item);
            if (one && one->matcher == bound.matcher)
                numbers.append(one->number);
        }
        bound.matcher->visibleItemsChanged(numbers);
    }
}

void NakJumpLitView::paintEvent(QPaintEvent* event)
{
    LitItemView::paintEvent(event);
    if (!d->items.empty())
        return;
    bool const asked = !d->input->text().isEmpty();
    paintEmptyHint(viewport(),
                   { asked ? tr("Nothing found") : tr("Go to…"),
                     asked ? tr("No channel and nobody by that name")
                           : tr("Type the name of a channel or a person") });
}

void NakJumpLitView::showEvent(QShowEvent* event)
{
    LitItemView::showEvent(event);
    visibleItemsChanged(); // the same rows as before, but their matchers have let go of them
    showSelected(*d);
}

// Nothing is kept loaded for rows that nobody sees.
void NakJumpLitView::hideEvent(QHideEvent* event)
{
    for (BoundMatcher const& bound : qAsConst(d->matchers))
        bound.matcher->visibleItemsChanged({});
    LitItemView::hideEvent(event);
}

unsigned int NakJumpLitView::itemAt(QPoint const& pos) const
{
    LitPath const path = pathAtPoint(pos);
    return path.isEmpty() || path.last().item == rootItem() ? noItem : path.last().item;
}

void NakJumpLitView::mousePressEvent(QMouseEvent* event)
{
    mouseMoveEvent(event);
}

void NakJumpLitView::mouseMoveEvent(QMouseEvent* event)
{
    unsigned int const item = itemAt(event->pos());
    if (item != noItem)
        select(*d, item);
}

void NakJumpLitView::mouseReleaseEvent(QMouseEvent* event)
{
    bool const middle = event->button() == Qt::MiddleButton;
    if ((middle || event->button() == Qt::LeftButton) && itemAt(event->pos()) == d->selected)
        tryActivateSelection(*d, middle);
}

// --- the view ---

NakJumpView::NakJumpView(QWidget* chatWindow, QWidget* parent)
    : QWidget(parent)
    , d(std::make_unique<Priv>())
{
    d->view = this;
    d->chatWindow = chatWindow;
    d->style = NakJump::makeStyle(g_preferences->sourceListFont, palette());
    d->input = new QLineEdit;
    d->input->setMaxLength(maxQueryLength);
    d->input->setPlaceholderText(tr("Go to…"));
    d->input->setAccessibleName(tr("Go to"));
    d->input->setClearButtonEnabled(true);
    d->input->installEventFilter(this);
    d->list = new NakJumpLitView(d.get(), this);
    auto* const inputFrame = new QVBoxLayout;
    inputFrame->setContentsMargins(inputMargin, inputMargin, inputMargin, inputMargin);
    inputFrame->addWidget(d->input);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(edge, edge, edge, edge);
    layout->setSpacing(0);
    layout->addLayout(inputFrame);
    layout->addWidget(d->list, 1);
    setFocusProxy(d->input);

    NakJumpManager* const manager = NakJump::g_nakJumpManager;
    for (QObject* provider : manager->jumpProviders())
        addProvider(*d, provider);
    connect(manager, &NakJumpManager::providerAdded, this,
            [this](QObject* provider) { addProvider(*d, provider); });
    connect(manager, &NakJumpManager::providerRemoved, this,
            [this](QObject* provider) { removeProvider(*d, provider); });
    connect(d->input, &QLineEdit::textChanged, this, &NakJumpView::getNewResultsWithCurrentInput);
}

NakJumpView::~NakJumpView()
{
    hide(); // else the base class does, and the list would look for the matchers
}

void NakJumpView::setFocusAndSelectAllInputText()
{
    d->input->setFocus(Qt::PopupFocusReason);
    d->input->selectAll();
}

void NakJumpView::getNewResultsWithCurrentInput()
{
    for (BoundMatcher const& bound : qAsConst(d->matchers))
        bound.matcher->setQueryString(d->input->text());
    d->list->viewport()->update();
}

bool NakJumpView::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::KeyPress)
        return QWidget::eventFilter(watched, event);
    KeyVerb const verb = verbOf(static_cast<QKeyEvent const&>(*event));
    if (verb)
        verb(*d);
    return verb != nullptr;
}

void NakJumpView::paintEvent(QPaintEvent* /*event*/)
{
    QStyleOption option;
    option.initFrom(this);
    QPainter painter(this);
    style()->drawPrimitive(QStyle::PE_PanelMenu, &option, &painter, this);
}

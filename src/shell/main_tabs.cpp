// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "main_tabs.h"

#include "inner_tab_widget.h"
#include "plain_text.h"
#include "shell_icons.h"
#include "tab_bar.h"
#include "tab_wrapper.h"

#include <QAction>
#include <QApplication>
#include <QEvent>
#include <QPaintEvent>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

QString emptyTabTitle()
{
    return QStringLiteral("New Tab");
}

} // namespace

NakMainTabs::NakMainTabs(QWidget* parent)
    : QWidget(parent)
{
    makeActions();
    makeInner();
    refreshActions();
}

NakMainTabs::~NakMainTabs()
{
    // The pages go after this; until then nothing they do may reach what is left of it.
    m_inner->disconnect(this);
    for (int i = 0; i < count(); ++i) {
        if (QWidget* const content = widget(i))
            content->disconnect(this);
    }
}

void NakMainTabs::makeActions()
{
    m_back = new QAction(NakShell::icon(NakShell::backGlyph), QStringLiteral("Back"), this);
    m_back->setShortcuts(QKeySequence::Back);
    connect(m_back, &QAction::triggered, this, &NakMainTabs::goBackInCurrentTabHistory);

    m_forward =
        new QAction(NakShell::icon(NakShell::forwardGlyph), QStringLiteral("Forward"), this);
    m_forward->setShortcuts(QKeySequence::Forward);
    connect(m_forward, &QAction::triggered, this, &NakMainTabs::goForwardInCurrentTabHistory);
}

void NakMainTabs::makeInner()
{
    m_inner = new NakTabWidgetImpl::InnerTabWidget(this);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_inner);

    connect(m_inner, &QTabWidget::currentChanged, this, &NakMainTabs::on_innerCurrentChanged);
    connect(m_inner, &QTabWidget::tabCloseRequested, this, &NakMainTabs::tabCloseRequested);
    connect(m_inner->bar(), &NakTabBar::tabCloseReallyRequested, this, &NakMainTabs::closeTab);
    connect(m_inner->newTabButton(), &QToolButton::clicked, this, &NakMainTabs::newTabRequested);
}

void NakMainTabs::openNavLoc(NakNavLoc const& place, NakTabs::TargetHint target,
                             NakTabs::SubstitueHint substitute, NakTabs::ChangeToHint change)
{
    if (substitute == NakTabs::SubstitueHint::Search) {
        int const index = indexOfPlace(place);
        if (index >= 0) {
            if (change == NakTabs::ChangeToHint::Change)
                setCurrentIndex(index);
            return;
        }
    }
    if (target == NakTabs::TargetHint::NewTab || !currentWrapper())
        openInNewTab(place, change);
    else
        openInCurrentTab(place);
}

void NakMainTabs::openInNewTab(NakNavLoc const& place, NakTabs::ChangeToHint change)
{
    auto* const wrapper = new Wrapper(m_back, m_forward, m_inner);
    setPlace(wrapper, place);
    int const index = m_inner->addTab(wrapper, QString());
    updateTabData(index, NakTabbedDataChangeFlag::All);
    refreshActions();
    if (change == NakTabs::ChangeToHint::Change)
        setCurrentIndex(index);
    if (wrapper == currentWrapper())
        focusCurrentContent();
}

void NakMainTabs::openInCurrentTab(NakNavLoc const& place)
{
    Wrapper* const wrapper = currentWrapper();
    if (wrapper->content()) {
        NakNavLoc const old = wrapper->place();
        if (old == place)
            return;
        wrapper->forwardHistory.clear();
        if (!old.isNone())
            wrapper->backHistory.append(old);
    }
    setPlace(wrapper, place);
    finishOpening(wrapper);
}

void NakMainTabs::goBackInCurrentTabHistory()
{
    moveInHistory(&Wrapper::backHistory, &Wrapper::forwardHistory);
}

void NakMainTabs::goForwardInCurrentTabHistory()
{
    moveInHistory(&Wrapper::forwardHistory, &Wrapper::backHistory);
}

void NakMainTabs::moveInHistory(QVector<NakNavLoc> Wrapper::*from, QVector<NakNavLoc> Wrapper::*to)
{
    Wrapper* const wrapper = currentWrapper();
    if (!wrapper || (wrapper->*from).isEmpty())
        return;
    NakNavLoc const present = wrapper->place();
    if (!present.isNone())
        (wrapper->*to).append(present);
    setPlace(wrapper, (wrapper->*from).takeLast());
    finishOpening(wrapper);
}

void NakMainTabs::setPlace(Wrapper* wrapper, NakNavLoc const& place)
{
    if (wrapper->moveContentTo(place))
        return;
    wrapper->replaceContent(place);
    if (QWidget* const content = wrapper->content()) {
        connect(content, SIGNAL(tabDataChanged(NakTabbedDataChangeFlags)), this,
                SLOT(on_tabDataChanged(NakTabbedDataChangeFlags)));
        connect(content, SIGNAL(tabStatusUpdated(QRect)), this, SLOT(on_tabStatusUpdated(QRect)));
        wrapper->addContentToolBarItems();
        wrapper->showContent();
    }
    if (wrapper == currentWrapper()) {
        emit menusChanged();
        noteCurrentContent();
    }
    if (wrapper->isVisible())
        wrapper->layoutChildren();
}

void NakMainTabs::finishOpening(Wrapper* wrapper)
{
    updateTabData(m_inner->indexOf(wrapper), NakTabbedDataChangeFlag::All);
    refreshActions();
    if (wrapper == currentWrapper())
        focusCurrentContent();
}

int NakMainTabs::count() const
{
    return m_inner->count();
}

int NakMainTabs::currentIndex() const
{
    return m_inner->currentIndex();
}

void NakMainTabs::setCurrentIndex(int index)
{
    m_inner->setCurrentIndex(index);
}

int NakMainTabs::indexOf(QWidget* content) const
{
    for (int i = 0; content && i < count(); ++i) {
        if (widget(i) == content)
            return i;
    }
    return -1;
}

QWidget* NakMainTabs::widget(int index) const
{
    Wrapper const* const wrapper = wrapperAt(index);
    return wrapper ? wrapper->content() : nullptr;
}

QWidget* NakMainTabs::currentWidget() const
{
    return widget(currentIndex());
}

void NakMainTabs::setCurrentWidget(QWidget* content)
{
    int const index = indexOf(content);
    if (index >= 0)
        setCurrentIndex(index);
}

void NakMainTabs::closeTab(int index)
{
    Wrapper* const wrapper = wrapperAt(index);
    if (!wrapper)
        return;
    m_inner->removeTab(index);
    wrapper->deleteLater();
}

void NakMainTabs::setTabsClosable(bool closable)
{
    m_inner->setTabsClosable(closable);
}

NakNavLoc NakMainTabs::navLocAtIndex(int index) const
{
    Wrapper const* const wrapper = wrapperAt(index);
    return wrapper ? wrapper->place() : NakNavLoc();
}

NakNavLoc NakMainTabs::currentNavLoc() const
{
    return navLocAtIndex(currentIndex());
}

bool NakMainTabs::hasAnyTabWithNavLoc(NakNavLoc const& place) const
{
    return indexOfPlace(place) >= 0;
}

// An empty tab that keeps a place which nothing can show counts as showing it: else such a tab
// would be opened once more at every start. A tab that is merely empty is never found.
int NakMainTabs::indexOfPlace(NakNavLoc const& place) const
{
    for (int i = 0; i < count(); ++i) {
        Wrapper const* const wrapper = wrapperAt(i);
        NakNavLoc const shown = wrapper->place();
        if ((wrapper->content() || !shown.isNone()) && shown == place)
            return i;
    }
    return -1;
}

QString NakMainTabs::currentTitleText() const
{
    Wrapper const* const wrapper = currentWrapper();
    return wrapper ? wrapper->title : QString();
}

QIcon NakMainTabs::currentIcon() const
{
    Wrapper const* const wrapper = currentWrapper();
    return wrapper ? wrapper->icon : QIcon();
}

QList<QAction*> NakMainTabs::currentMenuActions() const
{
    INakTabbedWidget* const page = currentTabbed();
    return page ? page->tabMenuBarActions() : QList<QAction*>();
}

QWidget* NakMainTabs::statusWidget()
{
    if (!m_statusWidget) {
        m_statusWidget = new QWidget(this);
        m_statusWidget->installEventFilter(this);
    }
    return m_statusWidget;
}

bool NakMainTabs::eventFilter(QObject* watched, QEvent* event)
{
    if (watched != m_statusWidget || event->type() != QEvent::Paint)
        return QWidget::eventFilter(watched, event);
    if (INakTabbedWidget* const page = currentTabbed())
        page->tabPaintStatus(m_statusWidget, static_cast<QPaintEvent*>(event));
    return true;
}

void NakMainTabs::on_tabDataChanged(NakTabbedDataChangeFlags flags)
{
    int const index = indexOf(qobject_cast<QWidget*>(sender()));
    if (index >= 0)
        updateTabData(index, flags);
}

void NakMainTabs::on_tabStatusUpdated(QRect const& rect)
{
    if (!m_statusWidget || sender() != currentWidget())
        return;
    if (rect.isNull())
        m_statusWidget->update();
    else
        m_statusWidget->update(rect);
}

void NakMainTabs::updateTabData(int index, NakTabbedDataChangeFlags flags)
{
    if (flags.testFlag(NakTabbedDataChangeFlag::Text))
        updateTitle(index);
    if (flags.testFlag(NakTabbedDataChangeFlag::Icon))
        updateIcon(index);
    if (flags.testFlag(NakTabbedDataChangeFlag::Menus))
        emit menusChanged();
    if (flags.testFlag(NakTabbedDataChangeFlag::Place) && index == currentIndex())
        checkNavLoc();
}

void NakMainTabs::updateTitle(int index)
{
    Wrapper* const wrapper = wrapperAt(index);
    INakTabbedWidget* const page = wrapper->tabbed();
    QString const title = page ? page->tabText() : emptyTabTitle();
    if (title == wrapper->title)
        return;
    wrapper->title = title;
    QString const line = NakPlainText::titleLine(title);
    m_inner->setTabText(index, NakPlainText::withoutMnemonics(line));
    m_inner->setTabToolTip(index, NakPlainText::toolTip(line));
    if (index == currentIndex())
        emit titleTextChanged(title);
}

void NakMainTabs::updateIcon(int index)
{
    Wrapper* const wrapper = wrapperAt(index);
    INakTabbedWidget* const page = wrapper->tabbed();
    QIcon const icon = page ? page->tabIcon() : QIcon();
    if (icon.cacheKey() != wrapper->icon.cacheKey()) {
        wrapper->icon = icon;
        m_inner->setTabIcon(index, icon);
    }
    if (index == currentIndex() && icon.cacheKey() != m_currentIconKey) {
        m_currentIconKey = icon.cacheKey();
        emit iconChanged(icon);
    }
}

void NakMainTabs::checkNavLoc()
{
    NakNavLoc const place = currentNavLoc();
    if (place == m_currentPlace)
        return;
    NakNavLoc const old = std::exchange(m_currentPlace, place);
    emit navLocChanged(old, place);
}

void NakMainTabs::refreshActions()
{
    Wrapper const* const wrapper = currentWrapper();
    m_back->setEnabled(wrapper && !wrapper->backHistory.isEmpty());
    m_forward->setEnabled(wrapper && !wrapper->forwardHistory.isEmpty());
}

void NakMainTabs::on_innerCurrentChanged(int index)
{
    emit titleTextChanged(currentTitleText());
    m_currentIconKey = currentIcon().cacheKey();
    emit iconChanged(currentIcon());
    emit menusChanged();
    if (currentWidget() != m_currentContent) {
        noteCurrentContent();
        QWidget* const focused = QApplication::focusWidget();
        QWidget* const content = currentWidget();
        if (content && content != focused && !content->isAncestorOf(focused))
            content->setFocus();
    }
    refreshActions();
    checkNavLoc();
    emit currentChanged(index);
}

// Tells the content that the strip showed until now, and the one that it shows from now on.
void NakMainTabs::noteCurrentContent()
{
    QWidget* const content = currentWidget();
    if (content == m_currentContent)
        return;
    if (auto* const old = qobject_cast<INakTabbedWidget*>(m_currentContent.data()))
        old->tabSetStatusIsVisible(false);
    m_currentContent = content;
    if (INakTabbedWidget* const page = currentTabbed())
        page->tabSetStatusIsVisible(true);
    if (m_statusWidget)
        m_statusWidget->update();
}

void NakMainTabs::focusCurrentContent()
{
    if (QWidget* const content = currentWidget())
        content->setFocus();
}

NakMainTabs::Wrapper* NakMainTabs::wrapperAt(int index) const
{
    return static_cast<Wrapper*>(m_inner->widget(index));
}

NakMainTabs::Wrapper* NakMainTabs::currentWrapper() const
{
    return wrapperAt(currentIndex());
}

INakTabbedWidget* NakMainTabs::currentTabbed() const
{
    Wrapper const* const wrapper = currentWrapper();
    return wrapper ? wrapper->tabbed() : nullptr;
}

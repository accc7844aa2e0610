// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The tabs of a window, and the rules by which a place opens in them. A tab shows one place; what
// shows it comes from the tab contents' registry. User-interface thread; owned by its window.

#include "nav_loc.h"
#include "tabbed_widget.h"

#include <QIcon>
#include <QPointer>
#include <QWidget>

namespace NakTabs {
enum class TargetHint { CurrentTab = 0, NewTab = 1 };
// Whether a tab that shows the place already will do.
enum class SubstitueHint { DontSearch = 0, Search = 1 };
enum class ChangeToHint { Change = 0, Stay = 1 };
} // namespace NakTabs

namespace NakTabWidgetImpl {
class InnerTabWidget;
class Wrapper;
} // namespace NakTabWidgetImpl

class NakMainTabs : public QWidget {
    Q_OBJECT
public:
    explicit NakMainTabs(QWidget* parent = nullptr);
    ~NakMainTabs() override;

    void openNavLoc(NakNavLoc const& place, NakTabs::TargetHint target,
                    NakTabs::SubstitueHint substitute, NakTabs::ChangeToHint change);

    int count() const;
    int currentIndex() const; // -1 without tabs
    void setCurrentIndex(int index);
    // The widgets are the contents; null for an empty tab.
    int indexOf(QWidget* content) const;
    QWidget* widget(int index) const;
    QWidget* currentWidget() const;
    void setCurrentWidget(QWidget* content);
    void closeTab(int index);
    void setTabsClosable(bool closable);

    NakNavLoc navLocAtIndex(int index) const;
    NakNavLoc currentNavLoc() const; // none without tabs
    bool hasAnyTabWithNavLoc(NakNavLoc const& place) const;

    QString currentTitleText() const; // plain text, empty without tabs
    QIcon currentIcon() const;
    QList<QAction*> currentMenuActions() const;

    // The strip that the current content paints its status on. Made once; whoever asks puts it into
    // a layout.
    QWidget* statusWidget();

    QAction* backAction() const { return m_back; }
    QAction* forwardAction() const { return m_forward; }
    void goBackInCurrentTabHistory();
    void goForwardInCurrentTabHistory();

signals:
    void titleTextChanged(QString const& title);
    void iconChanged(QIcon const& icon);
    void menusChanged();
    void navLocChanged(NakNavLoc const& oldPlace, NakNavLoc const& newPlace);
    void currentChanged(int index);
    void tabCloseRequested(int index);
    void newTabRequested();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private slots:
    // Connected by name to every content.
    void on_tabDataChanged(NakTabbedDataChangeFlags flags);
    void on_tabStatusUpdated(QRect const& rect);

private:
    using Wrapper = NakTabWidgetImpl::Wrapper;

    void makeActions();
    void makeInner();
    Wrapper* wrapperAt(int index) const;
    Wrapper* currentWrapper() const;
    INakTabbedWidget* currentTabbed() const;
    int indexOfPlace(NakNavLoc const& place) const;
    void openInNewTab(NakNavLoc const& place, NakTabs::ChangeToHint change);
    void openInCurrentTab(NakNavLoc const& place);
    void moveInHistory(QVector<NakNavLoc> Wrapper::*from, QVector<NakNavLoc> Wrapper::*to);
    void setPlace(Wrapper* wrapper, NakNavLoc const& place);
    void finishOpening(Wrapper* wrapper);
    void updateTabData(int index, NakTabbedDataChangeFlags flags);
    void updateTitle(int index);
    void updateIcon(int index);
    void checkNavLoc();
    void refreshActions();
    void noteCurrentContent();
    void focusCurrentContent();
    void on_innerCurrentChanged(int index);

    NakTabWidgetImpl::InnerTabWidget* m_inner = nullptr;
    QAction* m_back = nullptr;
    QAction* m_forward = nullptr;
    QPointer<QWidget> m_statusWidget;
    // What was last told about the current tab.
    QPointer<QWidget> m_currentContent;
    qint64 m_currentIconKey = 0;
    NakNavLoc m_currentPlace;
};

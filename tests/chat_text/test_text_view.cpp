// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_text_view.h"
#include "text_fixture.h"
#include "widget_acts.h"

#include <QAccessible>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QMenu>
#include <QSignalSpy>
#include <QTest>
#include <QTextBlock>
#include <QTextLayout>
#include <QUrl>

namespace {

namespace Modes = DisText::ContentMode;

// Takes the place of the desktop's browser.
class Browser : public QObject {
    Q_OBJECT
public:
    Browser()
    {
        for (char const* scheme : schemes)
            QDesktopServices::setUrlHandler(QLatin1String(scheme), this, "open");
    }
    ~Browser() override
    {
        for (char const* scheme : schemes)
            QDesktopServices::unsetUrlHandler(QLatin1String(scheme));
    }
    Q_INVOKABLE void open(QUrl const& url) { opened += url.toString() + QLatin1Char(' '); }
    // Since the last call.
    std::string take() { return std::exchange(opened, {}).toStdString(); }

private:
    static constexpr char const* schemes[] = { "http", "https", "file" };
    QString opened;
};

class TextViewTest : public TextFixture {
protected:
    TextViewTest()
        : view(&window)
    {
        window.resize(400, 300);
        view.setGeometry(0, 0, 400, 20);
        window.show();
    }

    void set(char const* text, DisText::ContentMode::Type mode = Modes::Normal)
    {
        view.setFromParams(QString::fromUtf8(text), FlakeId(), mode);
    }

    // The middle of the character at that place of the text's first block.
    QPoint at(int position) const
    {
        QTextBlock const block = view.document()->begin();
        QTextLine const line = block.layout()->lineForTextPosition(position);
        qreal const left = line.cursorToX(position);
        qreal const right = line.cursorToX(position + 1);
        return QPoint(int((left + right) / 2), int(line.y() + line.height() / 2));
    }

    void send(QEvent::Type type, QPoint const& pos, Qt::MouseButton button, Qt::MouseButtons held)
    {
        QMouseEvent event(type, pos, view.mapToGlobal(pos), button, held, Qt::NoModifier);
        QCoreApplication::sendEvent(&view, &event);
    }
    void move(QPoint const& pos) { send(QEvent::MouseMove, pos, Qt::NoButton, {}); }
    void drag(QPoint const& pos) { send(QEvent::MouseMove, pos, Qt::NoButton, Qt::LeftButton); }
    void press(QPoint const& pos) { QTest::mousePress(&view, Qt::LeftButton, {}, pos); }
    void pressAgain(QPoint const& pos)
    {
        send(QEvent::MouseButtonDblClick, pos, Qt::LeftButton, Qt::LeftButton);
    }
    std::string selected() const { return view.selectedPlainText().toStdString(); }

    QWidget window;
    DisTextView view;
};

TEST_F(TextViewTest, TheHeightIsThatOfTheDocument)
{
    set("one line");
    int const line = view.height();
    EXPECT_EQ(line, int(view.document()->size().height()));
    set("one\ntwo\nthree");
    EXPECT_NEAR(view.height(), 3 * line, 2);
    view.setFromParams(QStringLiteral("word ").repeated(60), FlakeId(), Modes::Normal);
    EXPECT_EQ(view.heightForWidth(400), view.height());
    int const narrow = view.heightForWidth(100);
    EXPECT_GT(narrow, 3 * view.height());
    view.resize(100, view.height());
    EXPECT_EQ(view.height(), narrow);
}

TEST_F(TextViewTest, ALinkOpensAtAPress)
{
    Browser browser;
    set("see https://a.example/b now");
    QTest::mouseClick(&view, Qt::LeftButton, {}, at(1));
    EXPECT_EQ(browser.take(), "");
    move(at(8));
    EXPECT_EQ(view.cursor().shape(), Qt::PointingHandCursor);
    QTest::mouseClick(&view, Qt::LeftButton, {}, at(8));
    EXPECT_EQ(browser.take(), "https://a.example/b ");
    QTest::mouseDClick(&view, Qt::LeftButton, {}, at(8)); // only the second click's own event
    EXPECT_EQ(browser.take(), "") << "once for both clicks";
    move(at(1));
    EXPECT_EQ(view.cursor().shape(), Qt::ArrowCursor);
    view.setTextSelectionEnabled(true);
    EXPECT_EQ(view.cursor().shape(), Qt::IBeamCursor);
    QTest::mouseClick(&view, Qt::LeftButton, {}, at(8));
    EXPECT_EQ(browser.take(), "");
    view.setTextSelectionEnabled(false);
    set("https://good.example@bad.example/");
    QTest::mouseClick(&view, Qt::LeftButton, {}, at(3));
    EXPECT_EQ(browser.take(), "") << "a name in an address is a trick";
}

TEST_F(TextViewTest, ALinkHasAMenu)
{
    Browser browser;
    set("see https://a.example/b");
    auto const request = [this](QPoint const& pos) {
        QContextMenuEvent event(QContextMenuEvent::Mouse, pos, view.mapToGlobal(pos));
        event.setAccepted(false);
        QCoreApplication::sendEvent(&view, &event);
        return view.findChild<QMenu*>();
    };
    EXPECT_EQ(request(at(1)), nullptr);
    QMenu* const menu = request(at(10));
    ASSERT_NE(menu, nullptr);
    EXPECT_EQ(textsOf(menu->actions()), "Open Link|Copy Link");
    for (QAction* action : menu->actions())
        action->trigger();
    EXPECT_EQ(browser.take(), "https://a.example/b ");
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("https://a.example/b"));
    menu->close();
}

TEST_F(TextViewTest, DraggingSelectsCharacters)
{
    set("one two three");
    view.setTextSelectionEnabled(true);
    QSignalSpy const modified(&view, &DisTextView::textSelectionModified);
    press(at(4) - QPoint(1, 0));
    drag(at(6) + QPoint(1, 0));
    EXPECT_EQ(selected(), "two");
    EXPECT_EQ(modified.count(), 2);
    drag(QPoint(-50, -50));
    EXPECT_EQ(selected(), "one ");
    QTest::mouseRelease(&view, Qt::LeftButton, {}, at(0));
    drag(at(9));
    EXPECT_EQ(selected(), "one ") << "the drag is over";
    set("other");
    EXPECT_EQ(selected(), "");
    press(at(1));
    drag(at(3));
    EXPECT_NE(selected(), "");
    view.setTextSelectionEnabled(false);
    EXPECT_EQ(selected(), "");
}

TEST_F(TextViewTest, TwoClicksSelectWordsAndThreeTheWholeDocument)
{
    set("one two three four\nfive\n```\nsix\n```");
    view.setTextSelectionEnabled(true);
    press(at(9));
    QTest::mouseRelease(&view, Qt::LeftButton, {}, at(9));
    pressAgain(at(9));
    EXPECT_EQ(selected(), "three");
    drag(at(5));
    EXPECT_EQ(selected(), "two three");
    drag(at(15));
    EXPECT_EQ(selected(), "three four");
    press(at(9));
    EXPECT_EQ(selected(), "one two three four\nfive\nsix");
    press(at(9));
    EXPECT_EQ(selected(), "") << "a fourth begins anew";
}

TEST_F(TextViewTest, ARenameShowsAtOnceToAssistiveToolsToo)
{
    set("hi <@1>", Modes::Edited);
    run("update user set name = 'eve' where id = 1");
    tell(DisChange::ChangeType::UserPropertiesChanged, FlakeId(1));
    EXPECT_EQ(dump(*view.document()), "[|hi ][bold|@eve][dim| [edited]]");
    QAccessibleInterface* const face = QAccessible::queryAccessibleInterface(&view);
    ASSERT_NE(face, nullptr);
    EXPECT_EQ(face->role(), QAccessible::StaticText);
    EXPECT_EQ(face->text(QAccessible::Name), QStringLiteral("hi @eve [edited]"));
}

TEST_F(TextViewTest, CodeHasAGroundAndPendingTextIsPale)
{
    QPalette palette;
    palette.setColor(QPalette::Window, Qt::white);
    palette.setColor(QPalette::Text, Qt::black);
    window.setPalette(palette);
    set("text\n```\ncode\nmore\n```\ntext");
    int const line = view.height() / 4;
    // At the right edge there is no text, so what is not white is the ground of the code, which has
    // no gap between its lines.
    QImage const image = window.grab().toImage();
    QVector<int> grounds;
    for (int y : { line / 2, line + line / 2, 2 * line, 3 * line + line / 2 })
        grounds << qGray(image.pixel(390, y));
    EXPECT_EQ(grounds, (QVector<int>{ 255, 225, 225, 255 }));
    auto const darkest = [line](QImage const& picture) {
        int least = 255;
        for (int i = 0; i < 40 * line; ++i)
            least = std::min(least, qGray(picture.pixel(i % 40, i / 40)));
        return least;
    };
    EXPECT_LT(darkest(image), 20);
    view.setDisplayAsPending(true);
    EXPECT_NEAR(darkest(window.grab().toImage()), 255 * 2 / 5, 20);
}

} // namespace

#include "test_text_view.moc"

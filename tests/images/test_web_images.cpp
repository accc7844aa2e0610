// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "image_decode.h"
#include "images_fixture.h"
#include "stage_pictures.h"
#include "web_images.h"

#include <QSignalSpy>

namespace {

class WebImagesTest : public ImagesTest {
protected:
    WebImagesTest() { g_webImages = &images; }
    ~WebImagesTest() override { g_webImages = nullptr; }

    NakWebImages images;
};

QSize const place(400, 300);

char const* const hillsPath = "/media/attachments/1/7/hills.jpg";

} // namespace

TEST_F(WebImagesTest, everyFormatComesAtTheSizeInWhichItIsShown)
{
    struct {
        char const* path;
        QSize maximum;
        QSize size; // of the picture then
    } const table[] = {
        { "/media/attachments/1/7/a.png", place, { 400, 300 } },
        { "/media/attachments/1/7/a.jpg", place, { 400, 300 } },
        { "/media/attachments/1/7/a.gif", place, { 400, 300 } },
        { "/media/attachments/1/7/a.webp", place, { 400, 300 } },
        { "/media/attachments/1/7/a.jpg?width=90&height=30", place, { 90, 30 } },
        { "/media/attachments/1/7/a.jpg?width=800&height=100", place, { 400, 50 } },
        { "/media/attachments/1/7/a.jpg", QSize(), { 640, 480 } },
    };
    for (auto const& row : table) {
        NakWebImageListener listener;
        listener.setParams(QUrl(at(row.path)), row.maximum);
        ASSERT_TRUE(waitUntil([&] { return !listener.image().isNull(); })) << row.path;
        EXPECT_EQ(listener.image().layoutSize(), row.size) << row.path;
        bool const isGif = QByteArray(row.path).endsWith(".gif");
        QRgb const corner = listener.image().pixmap().toImage().pixel(row.size.width() - 3, 2);
        EXPECT_EQ(corner == qRgb(255, 255, 255), isGif) << "the badge of " << row.path;
    }
}

// Each costs one line and nothing else: a good picture comes afterwards as if nothing had been.
TEST_F(WebImagesTest, whatABadServerSendsCostsOneLine)
{
    auto const notDecoded = [](char const* why, int bytes) {
        return QStringLiteral(
                   "Failed to decode image received from URL:   Image reader error: %1   "
                   "Data size: %2")
            .arg(QLatin1String(why))
            .arg(bytes);
    };
    auto const notFetched = [](char const* key) {
        return QStringLiteral("Image fetch error: %1 from URL").arg(QLatin1String(key));
    };
    char const* const unknown = "Not a picture of a known format";
    int const good = stage::landscape(1, { 64, 48 }, stage::PictureFormat::Png).size();
    int const packed = qCompress(QByteArray(1 << 20, ' ')).size() - 4; // and stays so
    struct {
        char const* path;
        QString line;
    } const table[] = {
        { "/cdn/broken/wide.png", notDecoded("Picture of 16385 by 1 pixels", good) },
        { "/cdn/broken/huge.png", notDecoded("Picture of 16384 by 16384 pixels", good) },
        { "/cdn/broken/beyond.png", notDecoded("Picture of -1 by -1 pixels", good) },
        { "/cdn/broken/truncated.png", notDecoded("Picture of -1 by -1 pixels", 24) },
        { "/cdn/broken/empty.png", notDecoded(unknown, 0) },
        { "/cdn/broken/page.png", notDecoded(unknown, 33) },
        { "/cdn/broken/drawing.png", notDecoded(unknown, 62) },
        { "/cdn/broken/bitmap.png", notDecoded(unknown, 58) },
        { "/cdn/broken/packed.png", notDecoded(unknown, packed) },
        { "/cdn/broken/endless.png", notFetched("OperationCanceledError") },
        { "/cdn/broken/drip.png", notFetched("OperationCanceledError") },
        { "/cdn/broken/loop.png", notDecoded(unknown, 9) },
        { "/cdn/broken/file.png", notDecoded(unknown, 9) },
        { "/cdn/broken/none.png", notFetched("ContentNotFoundError") },
        { "/cdn/slow.png", notFetched("OperationCanceledError") },
        { "/cdn/cut.png", notFetched("RemoteHostClosedError") },
    };
    stage.delay(QStringLiteral("/cdn/slow.png"), 5'000);
    stage.cut(QStringLiteral("/cdn/cut.png"), 100);
    QStringList expected;
    for (auto const& row : table) {
        expected << row.line;
        NakWebImageListener listener;
        QSignalSpy const updated(&listener, &NakWebImageListener::imageUpdated);
        listener.setParams(QUrl(at(row.path)), place);
        ASSERT_TRUE(waitUntil([&] { return logLines().size() >= expected.size(); })) << row.path;
        EXPECT_EQ(logLines().join(QLatin1Char('\n')).toStdString(),
                  expected.join(QLatin1Char('\n')).toStdString());
        EXPECT_EQ(updated.count(), 0) << row.path;
    }
    NakWebImageListener listener;
    listener.setParams(QUrl(QStringLiteral("file:///etc/hostname")), place);
    ASSERT_TRUE(waitUntil([&] { return logLines().size() > expected.size(); }));
    EXPECT_EQ(logLines().last(),
              QStringLiteral("Image fetch error: ProtocolUnknownError from URL "
                             "file:///etc/hostname"));
    listener.setParams(QUrl(at(hillsPath)), place);
    EXPECT_TRUE(waitUntil([&] { return !listener.image().isNull(); }));
}

TEST_F(WebImagesTest, oneFetchServesAllWhoWaitAndAnotherSizeComesFromTheDisk)
{
    QString const path = QLatin1String(hillsPath);
    NakWebImageListener first;
    NakWebImageListener second;
    {
        NakWebImageListener goes; // while its picture is on its way
        for (NakWebImageListener* listener : { &first, &goes, &second })
            listener->setParams(QUrl(at(hillsPath)), place);
    }
    ASSERT_TRUE(waitUntil([&] { return !second.image().isNull(); }));
    EXPECT_EQ(first.image(), second.image());
    EXPECT_EQ(requestsTo(path), 1);
    NakWebImageListener small;
    small.setParams(QUrl(at(hillsPath)), { 40, 30 });
    ASSERT_TRUE(waitUntil([&] { return !small.image().isNull(); }));
    EXPECT_EQ(requestsTo(path), 1) << "the second size must come from the disk cache";

    preferences.lowBandwidthMode = true;
    NakWebImageListener later;
    later.setParams(QUrl(at(hillsPath)), place);
    EXPECT_EQ(later.image(), first.image()) << "what is alive is shown";
    later.setParams(QUrl(at("/media/attachments/1/8/other.jpg")), place);
    // The next start: nothing is alive, but the file is there.
    preferences.lowBandwidthMode = false;
    for (NakWebImageListener* listener : { &first, &second, &later })
        listener->clear();
    QCoreApplication::processEvents();
    makePool();
    first.setParams(QUrl(at(hillsPath)), place);
    ASSERT_TRUE(first.image().isNull());
    ASSERT_TRUE(waitUntil([&] { return !first.image().isNull(); }));
    EXPECT_EQ(pictureRequests(), 1);
}

TEST_F(WebImagesTest, aRedirectToAnotherHostCarriesNoCookies)
{
    stage::Stage other;
    QByteArray const target = QStringLiteral("http://127.0.0.1:%1/cdn/attachments/1/7/b.png")
                                  .arg(other.httpPort())
                                  .toUtf8();
    stage.answer("GET", QStringLiteral("/cdn/own"), 302, {}, { { "location", "/cdn/away" } });
    stage.answer("GET", QStringLiteral("/cdn/away"), 302, {}, { { "location", target } });
    NakWebImageListener listener;
    listener.setParams(QUrl(at("/cdn/own")), place, { QNetworkCookie("d", "secret") });
    ASSERT_TRUE(waitUntil([&] { return !listener.image().isNull(); }));
    QStringList cookies;
    for (stage::StageRequest const& request : stage.requests() + other.requests())
        cookies << request.path + QLatin1Char(' ') + QString::fromUtf8(request.header("cookie"));
    EXPECT_EQ(cookies.join(QLatin1Char('\n')).toStdString(),
              "/cdn/own d=secret\n/cdn/away d=secret\n/cdn/attachments/1/7/b.png ");
}

TEST(WebImageSizes, fitTheirPlaceAndSmallOnesAreDoubledOnDenseScreens)
{
    struct {
        QSize own, maximum;
        double density;
        QSize target, decoded;
    } const table[] = {
        { { 800, 600 }, { 400, 300 }, 1, { 400, 300 }, { 400, 300 } },
        { { 800, 100 }, { 400, 300 }, 1, { 400, 300 }, { 400, 50 } },
        { { 100, 100 }, { 400, 300 }, 1, { 400, 300 }, { 100, 100 } },
        { { 100, 100 }, { 400, 300 }, 2, { 800, 600 }, { 200, 200 } },
        { { 100, 100 }, { 400, 300 }, 1.2, { 480, 360 }, { 100, 100 } },
        { { 1600, 100 }, { 400, 300 }, 2, { 800, 600 }, { 800, 50 } },
        { { 640, 480 }, {}, 1, { 640, 480 }, { 640, 480 } },
    };
    for (auto const& row : table) {
        QSize const target = NakWebImagesImpl::targetSize(row.own, row.maximum, row.density);
        EXPECT_EQ(target, row.target);
        EXPECT_EQ(NakWebImagesImpl::decodeSize(row.own, target, row.density), row.decoded);
    }
}

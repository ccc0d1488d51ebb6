#include "DataRows.h"
#include "FakeServices.h"

#include "ancillary/AboutBox.h"
#include "ancillary/Artwork.h"
#include "ancillary/SplashWindow.h"
#include "app/Form1.h"

#include <QtTest>
#include <QtWidgets>

class SplashAboutTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void splashShowsWaitVersionAndLink() {
        FakeDesktop desktop;
        SplashWindow splash(desktop);
        QCOMPARE(splash.lblWait->text(), QStringLiteral("Please wait"));
        QCOMPARE(splash.lblVersion->text(), QStringLiteral("Version 1.0.0"));
        splash.show();
        QTest::mouseClick(splash.lblURL, Qt::LeftButton);
        QCOMPARE(desktop.opened, QStringList{QStringLiteral("https://quorvel.org/")});
        QVERIFY(splash.isVisible()); // the link does not close the window
    }

    void splashClosesByItsTimerOnceMainIsReady() {
        FakeDesktop desktop;
        QPointer<SplashWindow> splash = new SplashWindow(desktop);
        splash->show();
        QVERIFY(!splash->tmrSplash->isActive());
        splash->mainWindowReady();
        QVERIFY(splash->tmrSplash->isActive());
        QTRY_VERIFY_WITH_TIMEOUT(splash.isNull(), 4 * SplashWindow::ShownAfterReadyMs);
    }

    void applicationIconAtTheSizeAsked_data() {
        addColumns<int, int>("asked", "given");
        QTest::newRow("smallest shipped") << 16 << 16;
        QTest::newRow("between two shipped") << 20 << 20;
        QTest::newRow("largest shipped") << 256 << 256;
        QTest::newRow("beyond the largest") << 300 << 256;
    }

    void applicationIconAtTheSizeAsked() {
        auto [asked, given] = fetchRow<int, int>("asked", "given");
        const QIcon icon = Artwork::applicationIcon();
        QCOMPARE(icon.availableSizes().size(), 7);
        const QPixmap picture = icon.pixmap(asked, asked);
        QCOMPARE(picture.size(), QSize(given, given));
        QCOMPARE(icon.actualSize(QSize(asked, asked)), QSize(given, given));
        // A picture, not an empty square: its middle is drawn.
        QVERIFY(picture.toImage().pixelColor(given / 2, given / 2).alpha() > 0);
    }

    void aboutBoxListsTheSystem() {
        TestServices t;
        Form1 w(t.services());
        QVERIFY(w.Form_Load());
        w.mnuAbo->trigger();
        auto* about = w.findChild<AboutBox*>();
        QVERIFY(about && about->isVisible());
        QCOMPARE(about->windowTitle() + u'|' + about->lblVersion->text(),
                 QStringLiteral("About Quorvel|Version 1.0.0"));
        QTest::mouseClick(about->cmdSysInfo, Qt::LeftButton);
        auto* info = w.findChild<QPlainTextEdit*>(QStringLiteral("txtSysInfo"));
        QVERIFY(info && info->isVisible());
        const QStringList lines = info->toPlainText().split(u'\n');
        QVERIFY(lines.contains(QStringLiteral("Program folder: ") + t.dir.path()));
        QVERIFY(
            lines.first().startsWith(QStringLiteral("Operating system: ") + QSysInfo::prettyProductName()) &&
            lines.at(1).startsWith(QStringLiteral("Qt: ") + QString::fromLatin1(qVersion())));
        // The offscreen platform has one screen; every machine has at least the loopback interface.
        const qsizetype screens = lines.indexOf(QStringLiteral("Screens:"));
        const qsizetype interfaces = lines.indexOf(QStringLiteral("Network interfaces:"));
        QCOMPARE(interfaces - screens - 1, QGuiApplication::screens().size());
        QVERIFY(interfaces < lines.size() - 1);
        // The information window outlives the about box.
        QTest::mouseClick(about->cmdOK, Qt::LeftButton);
        QTRY_VERIFY(!w.findChild<AboutBox*>());
        QVERIFY(w.findChild<QPlainTextEdit*>(QStringLiteral("txtSysInfo")));
    }
};

QTEST_MAIN(SplashAboutTest)
#include "tst_splashabout.moc"

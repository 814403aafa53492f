// The desktop window under Qt's offscreen platform: clicks on its widgets,
// whole runs, Cancel, the settings file on Close, a second instance, the
// window's fit to screens of several sizes, and screenshots a person can
// look at.
#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QListWidget>
#include <QProcess>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollBar>
#include <QStyle>
#include <QTabBar>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>
#include <deque>
#include <mutex>

#include "app/main_dlg.h"
#include "app/resources.h"
#include "platform/output_files.h"
#include "gui/main_window.h"
#include "gui/qt_host.h"
#include "platform/headless/headless_host.h"

using namespace fmconv;

namespace {

// The real host, with pickers that answer from a script and boxes that are
// recorded and then shown and closed as a user would close them.
class ScriptedHost : public gui::QtDialogHost {
  public:
    std::deque<std::string> folders, files;

    void ShowMessageBox(const platform::MessageBoxRequest& box) override {
        {
            std::lock_guard lock(mutex_);
            boxes_.push_back(box.caption + ": " + box.text);
        }
        QtDialogHost::ShowMessageBox(box);
    }
    // The user answers each box (and the About box) with OK as soon as it shows.
    void ExecModal(QDialog& dialog) override {
        QTimer::singleShot(0, &dialog, &QDialog::accept);
        dialog.exec();
    }
    std::string BrowseForFolder(const std::string&, const std::string&, bool) override {
        return Next(folders);
    }
    std::string ChooseFileToOpen(const std::string&) override { return Next(files); }
    std::vector<std::string> Boxes() {
        std::lock_guard lock(mutex_);
        return boxes_;
    }

  private:
    static std::string Next(std::deque<std::string>& queue) {
        if (queue.empty()) return {};
        std::string answer = queue.front();
        queue.pop_front();
        return answer;
    }
    std::mutex mutex_;
    std::vector<std::string> boxes_;
};

// A folder of cwd holding a 24-bit TGA of 4 x 2 pixels under each name.
QString Pictures(const QTemporaryDir& cwd, const char* folder,
                 std::initializer_list<const char*> names) {
    std::vector<uint8_t> tga(18, 0);
    tga[2] = 2, tga[12] = 4, tga[14] = 2, tga[16] = 24, tga[17] = 0x20;
    for (int i = 0; i < 8; ++i) tga.insert(tga.end(), {0x10, 0x80, 0xF0});
    const QString path = cwd.filePath(folder);
    QDir().mkpath(path);
    for (const char* name : names) {
        platform::WriteWholeFile((path + "/" + name).toStdString(), tga);
    }
    return path;
}

struct Window {
    ScriptedHost host;
    platform::FixedFreeSpaceProbe probe{int64_t{1} << 40};
    std::unique_ptr<CMainDlg> dlg;
    std::unique_ptr<gui::MainWindow> view;
    bool ended = false;

    // cancelAfter: the user presses Cancel, on the GUI thread, as that
    // many files of a run are done (0: never).
    explicit Window(const QString& cwd, int cancelAfter = 0) {
        MainDlgServices services;
        services.host = &host;
        services.freeSpace = &probe;
        const std::string dir = cwd.toStdString();
        services.currentDirectory = [dir] { return dir; };
        services.afterFile = [this, cancelAfter](int done) {
            if (done != cancelAfter) return;
            QMetaObject::invokeMethod(
                qApp, [this] { Click(kIdExec); }, Qt::BlockingQueuedConnection);
        };
        dlg = std::make_unique<CMainDlg>(services);
        view = std::make_unique<gui::MainWindow>(*dlg, host);
        host.OnEndDialog([this](int) {
            ended = true;
            view->EndDialog();
        });
        dlg->OnInitDialog();
        view->show();
        QCoreApplication::processEvents();
    }
    QWidget* W(int id) { return view->Controls().Widget(id); }
    template <class T>
    T* As(int id) {
        return static_cast<T*>(W(id));
    }
    void Click(int id) {
        QTest::mouseClick(W(id), Qt::LeftButton, {}, W(id)->rect().center());
        QCoreApplication::processEvents();
    }
    // Both Select Directory buttons, answered with these folders.
    void PickFolders(const QString& src, const QString& dst) {
        host.folders = {src.toStdString(), dst.toStdString()};
        Click(kIdSourceSelectDir);
        Click(kIdDestSelectDir);
    }
    void FitTo(const QRect& available) {
        view->FitTo(available);
        QCoreApplication::processEvents();
    }
};

std::string SurfaceDump(platform::ControlSurface& s) {
    std::string out;
    for (int id : s.Ids()) {
        const platform::ControlState c = s.State(id);
        out += std::to_string(id) + ":" + c.text + (c.checked ? " checked" : "") +
               (c.enabled ? "" : " disabled") + (c.visible ? "" : " hidden") + "\n";
    }
    return out;
}

}  // namespace

class GuiTest : public QObject {
    Q_OBJECT
  private slots:
    void clicksOnWidgetsMatchTheHeadlessWindowAndCloseWritesTheSettings();
    void runsFromClicks_data();
    void runsFromClicks();
    void windowFitsTheScreen_data();
    void windowFitsTheScreen();
    void aSecondInstanceExitsSilently();
    void screenshots();
};

void GuiTest::clicksOnWidgetsMatchTheHeadlessWindowAndCloseWritesTheSettings() {
    QTemporaryDir cwd;
    Window window(cwd.path());
    platform::HeadlessHost headlessHost;
    MainDlgServices services = window.dlg->Services();
    services.host = &headlessHost;
    CMainDlg headless(services);
    headless.OnInitDialog();
    const int clicks[] = {kIdDestSfa,   kIdSourceSfm, kIdDestSf1,     kIdSourceSfa, kIdDestSf3,
                          kIdSourceSf3, kIdSourceSf1, kIdSourceImage, kIdDestSfm,   kIdSfm720p,
                          kIdSfm720p,   kIdDestSfa,   kIdSfa576i50,   kIdDestSf1};
    for (int id : clicks) {
        window.Click(id);
        headless.Click(id);
        QCOMPARE(SurfaceDump(window.dlg->Surface()), SurfaceDump(headless.Surface()));
        // What the widgets show is what the surface holds.
        for (int radio : {kIdSourceImage, kIdSourceSfm, kIdDestSfm, kIdDestSfa, kIdSfm720p}) {
            QCOMPARE(window.As<QAbstractButton>(radio)->isChecked(),
                     window.dlg->Surface().Checked(radio));
            QCOMPARE(window.W(radio)->isEnabled(), window.dlg->Surface().Enabled(radio));
        }
    }
    // Close writes the selections the clicks left and ends the window.
    window.Click(kIdClose);
    QVERIFY(window.ended);
    QTRY_VERIFY(!window.view->isVisible());
    QFile settings(cwd.filePath("ParvoClient.usr"));
    QVERIFY(settings.open(QIODevice::ReadOnly));
    QCOMPARE(QString::fromLatin1(settings.readAll()),
             QString("[FILEMANAGER]\r\nOriginal_File_Directory_Type=Image File\r\n"
                     "Convert_File_Directory_Type=SF1\r\nSFMFormat=720P\r\n"
                     "SFAFormat=576i/50\r\n"));
}

void GuiTest::runsFromClicks_data() {
    QTest::addColumn<int>("cancelAfter");  // files done when the user presses Cancel; 0: never
    QTest::addColumn<int>("result");
    QTest::addColumn<int>("done");
    QTest::addColumn<QString>("box");
    QTest::newRow("whole run") << 0 << 0 << 3 << "Finish: Convert finished successfully";
    QTest::newRow("cancel after the first file") << 1 << -1 << 1 << "";
}

void GuiTest::runsFromClicks() {
    QFETCH(int, cancelAfter);
    QFETCH(int, done);
    QFETCH(QString, box);
    QTemporaryDir cwd;
    const QString src = Pictures(cwd, "src", {"A.tga", "B.tga", "C.tga"});
    const QString dst = Pictures(cwd, "dst", {});
    Window window(cwd.path(), cancelAfter);
    std::vector<int> seen;
    std::mutex mutex;
    window.dlg->Surface().Subscribe([&](int id) {
        if (id != kIdProgress) return;
        std::lock_guard lock(mutex);
        seen.push_back(window.dlg->Surface().State(kIdProgress).position);
    });
    QVERIFY(!window.W(kIdExec)->isEnabled());
    window.PickFolders(src, dst);
    QCOMPARE(window.As<QListWidget>(kIdSourceList)->selectedItems().size(), 3);
    QTRY_VERIFY(window.W(kIdExec)->isEnabled());

    window.Click(kIdExec);
    // A run under the sanitizers on a busy machine takes its time.
    QTRY_VERIFY_WITH_TIMEOUT(!window.dlg->Converting(), 120000);
    QTEST(window.dlg->WaitForRun(), "result");
    QTRY_COMPARE(window.As<QListWidget>(kIdDestList)->count(), done);
    QCOMPARE(QDir(dst).entryList(QDir::Files).size(), done);
    QCOMPARE(window.host.Boxes(), box.isEmpty() ? std::vector<std::string>{}
                                                : std::vector<std::string>{box.toStdString()});
    {
        // The bar steps once per file, and reads files done of the selection.
        std::lock_guard lock(mutex);
        seen.erase(std::unique(seen.begin(), seen.end()), seen.end());
        std::vector<int> steps;
        for (int n = 0; n <= done; ++n) steps.push_back(n);
        QCOMPARE(seen, steps);
    }
    QTRY_COMPARE(window.As<QProgressBar>(kIdProgress)->text(), QString("%1 / 3").arg(done));
    QTRY_VERIFY(!window.W(kIdProgress)->isVisible());
    QTRY_VERIFY(window.W(kIdExec)->isEnabled());
    QCOMPARE(window.As<QAbstractButton>(kIdExec)->text(), QString("Exec"));
}

void GuiTest::aSecondInstanceExitsSilently() {
    QTemporaryDir runtime, cwd;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("XDG_RUNTIME_DIR", runtime.path());  // a lock of this test's own
    env.insert("QT_QPA_PLATFORM", "offscreen");
    QProcess first, second;
    for (QProcess* p : {&first, &second}) {
        p->setProcessEnvironment(env);
        p->setWorkingDirectory(cwd.path());
    }
    first.start(FMCONV_GUI_BINARY, {});
    QVERIFY(first.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(!QDir(runtime.path()).entryList({"fmconv-*.lock"}).isEmpty(), 10000);
    QTest::qWait(300);
    second.start(FMCONV_GUI_BINARY, {});
    QVERIFY(second.waitForFinished(5000));
    QCOMPARE(second.exitCode(), 0);
    QCOMPARE(second.readAllStandardOutput() + second.readAllStandardError(), QByteArray());
    QCOMPARE(first.state(), QProcess::Running);
    first.kill();
    first.waitForFinished();
}

void GuiTest::windowFitsTheScreen_data() {
    QTest::addColumn<QSize>("screen");  // the screen's free area
    QTest::addColumn<bool>("smaller");  // drawn at a smaller font than the template's
    QTest::addColumn<bool>("scrolls");  // the controls above the Exec row scroll
    QTest::newRow("roomy") << QSize(1440, 900) << false << false;
    QTest::newRow("short: smaller font") << QSize(1440, 640) << true << false;
    QTest::newRow("tiny: scrolls") << QSize(420, 360) << true << true;
}

// At every size the window stays inside the screen with Exec and Close in
// sight, and every control still holds its text.
void GuiTest::windowFitsTheScreen() {
    QFETCH(QSize, screen);
    QTemporaryDir cwd;
    const QString path = Pictures(
        cwd, "Production stills 2026/Autumn season/Evening news bulletin/Opening titles/Final graphics",
        {});
    Window window(cwd.path());
    window.PickFolders(path, path);
    const QRect available(QPoint(40, 20), screen);
    window.FitTo(available);
    QVERIFY(available.contains(window.view->frameGeometry()));
    const QFont templateFont = gui::DialogFont(MainDialogTemplate());
    QTEST(window.view->DialogFontInUse().pointSizeF() < templateFont.pointSizeF(), "smaller");
    QTEST(window.view->Body().verticalScrollBar()->maximum() > 0, "scrolls");
    for (int id : {kIdExec, kIdClose}) {  // whole, in sight
        QCOMPARE(window.W(id)->visibleRegion(), QRegion(window.W(id)->rect()));
    }

    // A long folder is shortened in the middle, keeping its last folder,
    // and shown whole as the tooltip.
    for (int id : {kIdSourcePath, kIdDestPath}) {
        auto* label = window.As<QLabel>(id);
        const QStringList ends = label->text().split(QChar(0x2026));
        QCOMPARE(ends.size(), 2);
        QVERIFY(path.startsWith(ends[0]) && ends[0].size() > 5);
        QVERIFY(ends[1].endsWith("/Final graphics"));
        QVERIFY(label->fontMetrics().horizontalAdvance(label->text()) <= label->width());
        QCOMPARE(label->toolTip(), path);
    }
    // The count boxes hold their text, inside their frame.
    for (int id : {kIdSourceCount, kIdDestCount}) {
        auto* box = window.As<QLabel>(id);
        QCOMPARE(box->text(), QString("not found"));
        const QFontMetrics metrics = box->fontMetrics();
        QVERIFY(metrics.horizontalAdvance(box->text()) + box->indent() <=
                box->contentsRect().width());
        QVERIFY(metrics.height() <= box->contentsRect().height());
        // Each of the four edges shows a line darker than the window (an
        // etched box: on two sides the dark line is the inner one).
        const QImage image = box->grab().toImage();
        const int w = image.width(), h = image.height();
        const int background = box->palette().color(QPalette::Window).lightness();
        const auto dark = [&](int x, int y) {
            return QColor(image.pixel(x, y)).lightness() < background - 20;
        };
        QVERIFY(dark(w / 2, 0) && (dark(w / 2, h - 1) || dark(w / 2, h - 2)));
        QVERIFY(dark(0, h / 2) && (dark(w - 1, h / 2) || dark(w - 2, h / 2)));
    }
    // Radios hold their circle, and those of one row stand level.
    const int circle = window.view->style()->pixelMetric(QStyle::PM_ExclusiveIndicatorHeight);
    for (auto [left, right] :
         {std::pair{kIdSourceSfm, kIdSourceSfa}, std::pair{kIdSourceSf1, kIdSourceSf3},
          std::pair{kIdDestSf1, kIdDestSf3}}) {
        QCOMPARE(window.W(left)->geometry().center().y(), window.W(right)->geometry().center().y());
        QVERIFY(window.W(left)->height() >= circle);
    }
    // The channel pages' captions keep a margin inside their buttons' frames.
    for (int p = 0; p < kPageCount; ++p) {
        for (int id : {kChannels[p * 4].button, kChannels[p * 4].clear}) {
            auto* button = static_cast<QPushButton*>(window.view->PageControls(p).Widget(id));
            const int frame = button->style()->pixelMetric(QStyle::PM_DefaultFrameWidth);
            const int spare = button->width() - 2 * frame -
                              button->fontMetrics().horizontalAdvance(button->text());
            QVERIFY2(spare >= 4, qPrintable(button->text()));
            QVERIFY(button->geometry().right() < window.view->PageWidget(p)->width());
        }
    }
}

void GuiTest::screenshots() {
    const QString folder = qEnvironmentVariableIsSet("FMCONV_SCREENSHOT_DIR")
                               ? qEnvironmentVariable("FMCONV_SCREENSHOT_DIR")
                               : QDir::current().filePath("screenshots");
    QDir().mkpath(folder);
    QTemporaryDir cwd;
    Window window(cwd.path());
    window.PickFolders(Pictures(cwd, "pictures", {"LOGO.tga", "TITLE.bmp", "BUG.tif"}), cwd.path());
    // On a screen too small for the dialog (it scrolls), then on a roomy one.
    window.FitTo(QRect(0, 0, 960, 600));
    QVERIFY(window.view->grab().save(folder + "/main-small-screen.png"));
    window.FitTo(QRect(0, 0, 1440, 900));
    QVERIFY(window.view->grab().save(folder + "/main.png"));
    window.Click(kIdDestSfa);  // the channel pages need the audio controls
    window.host.files = {"/media/audio/left.wav", "/media/audio/right.wav"};
    window.dlg->ChannelPage(0).Click(kChannels[0].button);
    window.dlg->ChannelPage(0).Click(kChannels[1].button);
    auto* tabs = window.As<QTabBar>(kIdTab);
    for (int page = 0; page < kPageCount; ++page) {
        QTest::mouseClick(tabs, Qt::LeftButton, {}, tabs->tabRect(page).center());
        QCoreApplication::processEvents();
        QTRY_VERIFY(window.view->PageWidget(page)->isVisible());
        QVERIFY(window.view->grab().save(folder + QString("/page%1.png").arg(page + 1)));
    }
    qInfo("screenshots in %s", qPrintable(folder));
}

QTEST_MAIN(GuiTest)
#include "gui_test.moc"

// The desktop window under Qt's offscreen platform: clicks on its widgets,
// whole runs, Cancel, the settings file on Close, a second instance, and
// screenshots a person can look at.
#include <QAbstractButton>
#include <QApplication>
#include <QListWidget>
#include <QMessageBox>
#include <QProcess>
#include <QProgressBar>
#include <QTabBar>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>
#include <atomic>
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
    std::vector<std::string> boxes;
    std::mutex mutex;

    void ShowMessageBox(const platform::MessageBoxRequest& box) override {
        {
            std::lock_guard lock(mutex);
            boxes.push_back(box.caption + ": " + box.text);
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
        std::lock_guard lock(mutex);
        return boxes;
    }

  private:
    std::string Next(std::deque<std::string>& queue) {
        if (queue.empty()) return {};
        std::string answer = queue.front();
        queue.pop_front();
        return answer;
    }
};

// A 24-bit TGA of 4 x 2 pixels.
std::vector<uint8_t> SmallTga() {
    std::vector<uint8_t> file(18, 0);
    file[2] = 2, file[12] = 4, file[14] = 2, file[16] = 24, file[17] = 0x20;
    for (int i = 0; i < 8; ++i) file.insert(file.end(), {0x10, 0x80, 0xF0});
    return file;
}

// Folders src (three small pictures) and dst (empty) in cwd.
std::pair<QString, QString> ThreePictures(const QTemporaryDir& cwd) {
    const QString src = cwd.filePath("src"), dst = cwd.filePath("dst");
    QDir().mkpath(src);
    QDir().mkpath(dst);
    for (const char* name : {"A.tga", "B.tga", "C.tga"}) {
        platform::WriteWholeFile((src + "/" + name).toStdString(), SmallTga());
    }
    return {src, dst};
}

struct Window {
    ScriptedHost host;
    platform::FixedFreeSpaceProbe probe{int64_t{1} << 40};
    std::unique_ptr<CMainDlg> dlg;
    std::unique_ptr<gui::MainWindow> view;
    bool ended = false;

    explicit Window(const QString& cwd, std::function<void(int)> afterFile = nullptr) {
        MainDlgServices services;
        services.host = &host;
        services.freeSpace = &probe;
        const std::string dir = cwd.toStdString();
        services.currentDirectory = [dir] { return dir; };
        services.afterFile = std::move(afterFile);
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
    void Click(int id) {
        QTest::mouseClick(W(id), Qt::LeftButton, {}, W(id)->rect().center());
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
    void clicksOnWidgetsMatchTheHeadlessWindow();
    void aWholeRunFromClicks();
    void cancelDuringARunStopsAfterTheCurrentFile();
    void closeWritesTheSettingsFile();
    void aSecondInstanceExitsSilently();
    void screenshots();
};

void GuiTest::clicksOnWidgetsMatchTheHeadlessWindow() {
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
            auto* button = static_cast<QAbstractButton*>(window.W(radio));
            QCOMPARE(button->isChecked(), window.dlg->Surface().Checked(radio));
            QCOMPARE(button->isEnabled(), window.dlg->Surface().Enabled(radio));
        }
    }
}

void GuiTest::aWholeRunFromClicks() {
    QTemporaryDir cwd;
    const auto [src, dst] = ThreePictures(cwd);
    Window window(cwd.path());
    std::vector<int> positions;
    std::mutex mutex;
    window.dlg->Surface().Subscribe([&](int id) {
        if (id != kIdProgress) return;
        std::lock_guard lock(mutex);
        positions.push_back(window.dlg->Surface().State(kIdProgress).position);
    });
    QVERIFY(!window.W(kIdExec)->isEnabled());
    window.host.folders = {src.toStdString(), dst.toStdString()};
    window.Click(kIdSourceSelectDir);
    window.Click(kIdDestSelectDir);
    auto* sourceList = static_cast<QListWidget*>(window.W(kIdSourceList));
    QCOMPARE(sourceList->count(), 3);
    QCOMPARE(sourceList->selectedItems().size(), 3);
    QTRY_VERIFY(window.W(kIdExec)->isEnabled());

    window.Click(kIdExec);
    QTRY_VERIFY(!window.dlg->Converting());
    QCOMPARE(window.dlg->WaitForRun(), 0);
    QTRY_COMPARE(static_cast<QListWidget*>(window.W(kIdDestList))->count(), 3);
    QCOMPARE(window.host.Boxes(),
             std::vector<std::string>{"Finish: Convert finished successfully"});
    {
        // The bar steps once per file.
        std::lock_guard lock(mutex);
        positions.erase(std::unique(positions.begin(), positions.end()), positions.end());
        QCOMPARE(positions, (std::vector<int>{0, 1, 2, 3}));
    }
    QTRY_VERIFY(!window.W(kIdProgress)->isVisible());
    QCOMPARE(static_cast<QAbstractButton*>(window.W(kIdExec))->text(), QString("Exec"));
    QVERIFY(QFile::exists(dst + "/MC.FMEM_003.SFM"));
}

void GuiTest::cancelDuringARunStopsAfterTheCurrentFile() {
    QTemporaryDir cwd;
    const auto [src, dst] = ThreePictures(cwd);
    Window* self = nullptr;
    // The user presses Cancel on the GUI thread while the first file ends.
    Window window(cwd.path(), [&self](int done) {
        if (done != 1) return;
        QMetaObject::invokeMethod(
            qApp, [&self] { self->Click(kIdExec); }, Qt::BlockingQueuedConnection);
    });
    self = &window;
    window.host.folders = {src.toStdString(), dst.toStdString()};
    window.Click(kIdSourceSelectDir);
    window.Click(kIdDestSelectDir);
    window.Click(kIdExec);
    QTRY_VERIFY(!window.dlg->Converting());
    QCOMPARE(window.dlg->WaitForRun(), -1);
    QTRY_COMPARE(static_cast<QListWidget*>(window.W(kIdDestList))->count(), 1);
    QVERIFY(window.host.Boxes().empty());
    QVERIFY(!QFile::exists(dst + "/MB.FMEM_002.SFM"));
    QTRY_VERIFY(window.W(kIdExec)->isEnabled());
}

void GuiTest::closeWritesTheSettingsFile() {
    QTemporaryDir cwd;
    Window window(cwd.path());
    window.Click(kIdDestSf3);
    window.Click(kIdSfa720p50);
    window.Click(kIdClose);
    QVERIFY(window.ended);
    QTRY_VERIFY(!window.view->isVisible());
    QFile settings(cwd.filePath("ParvoClient.usr"));
    QVERIFY(settings.open(QIODevice::ReadOnly));
    QCOMPARE(QString::fromLatin1(settings.readAll()),
             QString("[FILEMANAGER]\r\nOriginal_File_Directory_Type=Image File\r\n"
                     "Convert_File_Directory_Type=SF3\r\nSFMFormat=1080i/1080PsF\r\n"
                     "SFAFormat=720P/50\r\n"));
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
    QElapsedTimer timer;
    timer.start();
    second.start(FMCONV_GUI_BINARY, {});
    QVERIFY(second.waitForFinished(5000));
    QCOMPARE(second.exitCode(), 0);
    QCOMPARE(second.readAllStandardOutput(), QByteArray());
    QCOMPARE(second.readAllStandardError(), QByteArray());
    QCOMPARE(first.state(), QProcess::Running);
    first.kill();
    first.waitForFinished();
}

void GuiTest::screenshots() {
    const QString folder = qEnvironmentVariableIsSet("FMCONV_SCREENSHOT_DIR")
                               ? qEnvironmentVariable("FMCONV_SCREENSHOT_DIR")
                               : QDir::current().filePath("screenshots");
    QDir().mkpath(folder);
    QTemporaryDir cwd;
    const QString src = cwd.filePath("pictures");
    QDir().mkpath(src);
    for (const char* name : {"LOGO.tga", "TITLE.bmp", "BUG.tif"}) {
        QVERIFY(platform::WriteWholeFile((src + "/" + name).toStdString(), SmallTga()));
    }
    Window window(cwd.path());
    window.host.folders = {src.toStdString(), cwd.path().toStdString()};
    window.Click(kIdSourceSelectDir);
    window.Click(kIdDestSelectDir);
    QVERIFY(window.view->grab().save(folder + "/main.png"));
    window.Click(kIdDestSfa);  // the channel pages need the audio controls
    window.host.files = {"/media/audio/left.wav", "/media/audio/right.wav"};
    window.dlg->ChannelPage(0).Click(kChannels[0].button);
    window.dlg->ChannelPage(0).Click(kChannels[1].button);
    for (int page = 0; page < kPageCount; ++page) {
        auto* tabs = static_cast<QTabBar*>(window.W(kIdTab));
        QTest::mouseClick(tabs, Qt::LeftButton, {}, tabs->tabRect(page).center());
        QCoreApplication::processEvents();
        QTRY_VERIFY(window.view->PageWidget(page)->isVisible());
        QVERIFY(window.view->grab().save(folder + QString("/page%1.png").arg(page + 1)));
    }
    qInfo("screenshots in %s", qPrintable(folder));
}

QTEST_MAIN(GuiTest)
#include "gui_test.moc"

// fmconv-gui: the converter's desktop window.
#include <QApplication>
#include <cstring>
#include <iostream>

#include "app/converter_app.h"
#include "app/main_dlg.h"
#include "app/resources.h"
#include "gui/main_window.h"
#include "gui/qt_host.h"
#include "platform/free_space.h"
#include "platform/interrupts.h"

int main(int argc, char** argv) {
    fmconv::platform::TreatFileSizeLimitAsFullDisk();
    QApplication application(argc, argv);
    bool realSpaceCheck = false;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--real-space-check") == 0) {
            realSpaceCheck = true;
        } else {
            std::cerr << "usage: fmconv-gui [--real-space-check]\n";
            return 2;
        }
    }
    QApplication::setWindowIcon(fmconv::gui::ApplicationIcon());

    fmconv::CConverterApp app(fmconv::kInstanceName);
    app.InitInstance([&] {
        fmconv::gui::QtDialogHost host;
        fmconv::platform::LegacyFreeSpaceProbe legacy;
        fmconv::platform::RealFreeSpaceProbe real;
        fmconv::MainDlgServices services;
        services.host = &host;
        services.freeSpace =
            realSpaceCheck ? static_cast<const fmconv::platform::FreeSpaceProbe*>(&real) : &legacy;
        services.trace = fmconv::StdoutTrace();
        fmconv::CMainDlg dlg(services);
        fmconv::gui::MainWindow window(dlg, host);
        host.OnEndDialog([&](int) { window.EndDialog(); });
        dlg.OnInitDialog();
        window.show();
        QApplication::exec();
        dlg.WaitForRun();
    });
    app.ExitInstance();
    return 0;
}

// Start-up floor: the least a Qt Widgets program does to show a window. Built a second time
// with FLOOR_WITH_TEXT, where one label shows what the first text costs (fonts).
#include <QApplication>
#include <QMainWindow>
#ifdef FLOOR_WITH_TEXT
#include <QLabel>
#endif

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QMainWindow window;
#ifdef FLOOR_WITH_TEXT
    window.setCentralWidget(new QLabel(QStringLiteral("Profile")));
#endif
    window.show();
    return app.exec();
}

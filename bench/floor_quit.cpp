// Reference for a second launcher start: a GUI application object that ends at once.
#include <QApplication>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    return 0;
}

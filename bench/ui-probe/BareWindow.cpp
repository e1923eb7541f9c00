// The least that a window with a table costs: the peer of the application's start and memory.
#include <QApplication>
#include <QMainWindow>
#include <QTableWidget>

int main(int argc, char* argv[]) {
    const QApplication application(argc, argv);
    QMainWindow window;
    window.setCentralWidget(new QTableWidget(20, 4));
    window.resize(640, 620);
    window.show();
    return QApplication::exec();
}

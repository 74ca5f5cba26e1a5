// The least that a program with a window does: what a start of the window is measured against.
#include <QApplication>
#include <QMainWindow>
#include <QTimer>

namespace {

class Bare final : public QMainWindow {
  protected:
    void paintEvent(QPaintEvent* event) override {
        QMainWindow::paintEvent(event);
        QTimer::singleShot(0, qApp, &QApplication::quit);
    }
};

}  // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    Bare window;
    window.show();
    return QApplication::exec();
}

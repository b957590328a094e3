// SPDX-License-Identifier: Apache-2.0
// vello-file-window FILE: a window that stands for a file manager with this file. A pointer that is dragged
// out of it drags the file. Prints a line when the program under the pointer accepts the file, and one when
// it was dropped.
#include <QDrag>
#include <QGuiApplication>
#include <QMimeData>
#include <QMouseEvent>
#include <QRasterWindow>
#include <QStyleHints>
#include <QUrl>

#include <cstdio>

namespace vello::session {
namespace {

class FileWindow : public QRasterWindow {
public:
    explicit FileWindow(const QString& file) : file_(QUrl::fromLocalFile(file)) {
        setTitle(QStringLiteral("files"));
        setGeometry(100, 300, 300, 200);
    }

private:
    void mousePressEvent(QMouseEvent* event) override { pressedAt_ = event->pos(); }
    void mouseMoveEvent(QMouseEvent* event) override {
        const int distance = (event->pos() - pressedAt_).manhattanLength();
        if (event->buttons() != Qt::LeftButton ||
            distance < QGuiApplication::styleHints()->startDragDistance())
            return;
        auto* const drag = new QDrag(this); // the toolkit deletes it
        auto* const data = new QMimeData;   // and this
        data->setUrls({file_});
        drag->setMimeData(data);
        connect(drag, &QDrag::actionChanged, this, [](Qt::DropAction action) {
            if (action == Qt::CopyAction)
                say("accepted");
        });
        say(drag->exec(Qt::CopyAction) == Qt::CopyAction ? "dropped" : "refused");
    }
    static void say(const char* line) {
        std::puts(line);
        std::fflush(stdout);
    }

    QUrl file_;
    QPoint pressedAt_;
};

int run(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments();
    if (arguments.size() != 2)
        return 2;
    FileWindow window(arguments.last());
    window.show();
    return QGuiApplication::exec();
}

} // namespace
} // namespace vello::session

int main(int argc, char** argv) {
    return vello::session::run(argc, argv);
}

// SPDX-License-Identifier: Apache-2.0
#include "UI/PanelPresenter.h"

#include "UI/PanelModel.h"
#include "UI/Renderer.h"
#include "UI/Theme.h"
#include "UI/X11Desktop.h"

#include <QGuiApplication>
#include <QPainterPath>
#include <QQmlComponent>
#include <QQmlExtensionPlugin>
#include <QScreen>

#include <algorithm>
#include <stdexcept>

Q_IMPORT_QML_PLUGIN(VelloPlugin)

namespace vello {
namespace {

constexpr double kWindowRadius = 16.0;
/// A press on the icon reaches the panel first, as one outside of it, and the icon when it is let go.
constexpr qint64 kLongestPress = 600;

bool isOnX11() {
    return QGuiApplication::platformName() == QLatin1String("xcb");
}

PanelRectangle rectangle(const QRect& rect) {
    return {static_cast<double>(rect.x()), static_cast<double>(rect.y()), static_cast<double>(rect.width()),
            static_cast<double>(rect.height())};
}

QScreen* screenAt(const std::optional<QRect>& icon) {
    QScreen* const screen = icon ? QGuiApplication::screenAt(icon->center()) : nullptr;
    return screen ? screen : QGuiApplication::primaryScreen();
}

} // namespace

PanelPresenter::PanelPresenter(PanelModel& model, Theme& theme) : model_(model), engine_(theme) {
    QQuickWindow::setDefaultAlphaBuffer(true);
    chooseRenderer();
    engine_.addImportPath(QStringLiteral("qrc:/qt/qml"));
    if (isOnX11())
        desktop_ = X11Desktop::connectToDisplay();
    if (desktop_)
        connect(desktop_.get(), &X11Desktop::buttonPressed, this, &PanelPresenter::pressedAt);
    connect(&model_, &PanelModel::aboutRequested, this, &PanelPresenter::showAbout);
}

PanelPresenter::~PanelPresenter() {
    hide();
}

bool PanelPresenter::isVisible() const {
    return window_ && window_->isVisible();
}

QQuickWindow* PanelPresenter::make(const QString& component, const QVariantMap& properties) {
    QQmlComponent source(&engine_, QUrl(QStringLiteral("qrc:/qt/qml/Vello/%1.qml").arg(component)));
    QObject* const made = source.createWithInitialProperties(properties);
    auto* const window = qobject_cast<QQuickWindow*>(made);
    if (!window)
        throw std::runtime_error(source.errorString().toStdString());
    return window;
}

void PanelPresenter::makeWindow() {
    window_.reset(
        make(QStringLiteral("PanelWindow"), {{QStringLiteral("panel"), QVariant::fromValue(&model_)}}));
    connect(window_.get(), SIGNAL(dismissed()), this, SLOT(hide()));
    connect(window_.get(), SIGNAL(surfaceChanged()), this, SLOT(shapeWindow()));
    connect(window_.get(), &QWindow::visibleChanged, this, [this](bool isVisible) {
        model_.setShown(isVisible);
        emit visibleChanged(isVisible);
    });
    window_->create();
    QGuiApplication::sync(); // the other connection knows the window by then
    if (desktop_)
        desktop_->hideFromTaskbars(window_->winId());
}

void PanelPresenter::show(std::optional<QRect> icon) {
    if (!window_)
        makeWindow();
    if (!isVisible()) {
        const bool isTranslucent = !desktop_ || desktop_->hasCompositor();
        window_->setProperty("isTranslucent", isTranslucent);
        place(icon);
        window_->show();
    }
    shapeWindow();
    window_->raise();
    window_->requestActivate();
}

void PanelPresenter::hide() {
    if (window_)
        window_->hide();
}

void PanelPresenter::toggle(std::optional<QRect> icon) {
    const bool wasClosedByThisPress =
        sinceClosedByPress_.isValid() && sinceClosedByPress_.elapsed() < kLongestPress;
    sinceClosedByPress_.invalidate();
    if (isVisible())
        hide();
    else if (!wasClosedByThisPress)
        show(icon);
}

void PanelPresenter::showAbout() {
    if (!about_)
        about_.reset(make(QStringLiteral("AboutWindow"), {}));
    about_->show();
    // Once the event that asked for it is over: the panel would take the front back.
    QMetaObject::invokeMethod(
        about_.get(),
        [this] {
            about_->raise();
            about_->requestActivate();
        },
        Qt::QueuedConnection);
}

QRect PanelPresenter::surface() const {
    return window_->property("surface").toRectF().toAlignedRect();
}

void PanelPresenter::place(std::optional<QRect> icon) {
    const QRect available = screenAt(icon)->availableGeometry();
    const QRect panel = surface();
    const PanelPlacement placement{rectangle(available),
                                   {static_cast<double>(panel.width()), static_cast<double>(panel.height())}};
    const PanelPoint corner =
        icon ? placement.beside(rectangle(*icon)) : placement.in(ScreenCorner::topRight);
    const bool growsUpwards = icon && corner.y + panel.height() / 2.0 < rectangle(*icon).centre().y &&
                              corner.y > available.center().y() - panel.height();
    const int margin = panel.x();
    const int left = static_cast<int>(corner.x) - margin;
    const int top = static_cast<int>(corner.y);
    const bool hangs = !growsUpwards;
    window_->setProperty("growsUpwards", growsUpwards);
    window_->setPosition(left, hangs ? top - margin : top + panel.height() + margin - window_->height());
}

void PanelPresenter::shapeWindow() {
    if (!desktop_)
        return;
    if (window_->property("isTranslucent").toBool()) {
        const int margin = surface().x();
        window_->setMask(surface().adjusted(-margin, -margin, margin, margin));
        return;
    }
    QPainterPath path;
    path.addRoundedRect(surface(), kWindowRadius, kWindowRadius);
    window_->setMask(QRegion(path.toFillPolygon().toPolygon()));
}

void PanelPresenter::pressedAt(QPoint position) {
    if (!isVisible())
        return;
    const double scale = window_->devicePixelRatio();
    if (surface().translated(window_->position()).contains((QPointF(position) / scale).toPoint()))
        return;
    hide();
    sinceClosedByPress_.start();
}

} // namespace vello

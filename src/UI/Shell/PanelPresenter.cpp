// SPDX-License-Identifier: Apache-2.0
#include "UI/Shell/PanelPresenter.h"

#include "Renderer.h"
#include "UI/Panel/PanelModel.h"
#include "UI/Panel/Theme.h"
#include "UI/Shell/WindowSystem.h"

#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlExtensionPlugin>
#include <QScreen>
#include <QStyleHints>

#include <algorithm>
#include <chrono>
#include <stdexcept>

Q_IMPORT_QML_PLUGIN(VelloPlugin)

namespace vello {
namespace {

constexpr double kWindowRadius = 16.0;
/// In pixels. Tolerance for the pointer's motion while its button is down and for an inexact place of an
/// item.
constexpr int kSlip = 16;

PanelRectangle rectangle(const QRect& rect) {
    return {static_cast<double>(rect.x()), static_cast<double>(rect.y()), static_cast<double>(rect.width()),
            static_cast<double>(rect.height())};
}

bool isOn(const QRect& icon, QPoint place) {
    return icon.adjusted(-kSlip, -kSlip, kSlip, kSlip).contains(place);
}

QScreen* screenAt(const std::optional<QRect>& icon) {
    QScreen* const screen = icon ? QGuiApplication::screenAt(icon->center()) : nullptr;
    return screen ? screen : QGuiApplication::primaryScreen();
}

} // namespace

PanelPresenter::PanelPresenter(PanelModel& model, Theme& theme, WindowSystem& windows, ScreenCorner corner)
    : model_(model), windows_(windows), corner_(corner), theme_(theme) {
    QQuickWindow::setDefaultAlphaBuffer(true);
    chooseRenderer();
    connect(&windows_, &WindowSystem::buttonPressed, this, &PanelPresenter::pressedAt);
    connect(&windows_, &WindowSystem::buttonReleased, this,
            [this] { closingPress_.released(ClosingPress::Clock::now()); });
    connect(&model_, &PanelModel::aboutRequested, this, &PanelPresenter::showAbout);
}

PanelPresenter::~PanelPresenter() {
    hide();
}

bool PanelPresenter::isPanelVisible() const {
    return window_ && window_->isVisible();
}

QQuickWindow* PanelPresenter::make(const QString& component, const QVariantMap& properties) {
    if (!engine_) {
        engine_ = std::make_unique<PanelEngine>(theme_);
        engine_->addImportPath(QStringLiteral("qrc:/qt/qml"));
    }
    QQmlComponent source(engine_.get(), QUrl(QStringLiteral("qrc:/qt/qml/Vello/%1.qml").arg(component)));
    QObject* const made = source.createWithInitialProperties(properties);
    auto* const window = qobject_cast<QQuickWindow*>(made);
    if (!window)
        throw std::runtime_error(source.errorString().toStdString());
    return window;
}

void PanelPresenter::makeWindow() {
    window_.reset(
        make(QStringLiteral("PanelWindow"), {{QStringLiteral("panel"), QVariant::fromValue(&model_)}}));
    windows_.adopt(*window_);
    connect(window_.get(), SIGNAL(dismissed()), this, SLOT(hide()));
    connect(window_.get(), SIGNAL(surfaceChanged()), this, SLOT(limitWindow()));
    connect(window_.get(), &QWindow::visibleChanged, this, [this](bool isVisible) {
        model_.setShown(isVisible);
        emit visibleChanged(isVisible);
    });
}

void PanelPresenter::show(std::optional<QRect> icon) {
    if (!window_)
        makeWindow();
    if (!isPanelVisible()) {
        window_->setProperty("isTranslucent", windows_.hasTranslucency());
        prepare(icon);
        window_->show();
    }
    limitWindow();
    window_->raise();
    window_->requestActivate();
}

void PanelPresenter::hide() {
    if (window_)
        window_->hide();
}

void PanelPresenter::toggle(std::optional<QRect> icon) {
    const bool isWhereClosed = !icon || !closedFrom_ || isOn(*icon, *closedFrom_);
    if (closingPress_.takeActivation(ClosingPress::Clock::now(), isWhereClosed))
        return;
    if (isPanelVisible())
        return hide();
    show(icon);
    opening_.reset();
    if (icon)
        opening_ = {ClosingPress::Clock::now(), *icon};
}

void PanelPresenter::showAbout() {
    if (!about_)
        about_.reset(make(QStringLiteral("AboutWindow"), {}));
    about_->show();
    // Queued until the requesting event is over; otherwise the panel would come back to the front.
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

void PanelPresenter::prepare(const std::optional<QRect>& icon) {
    const QScreen* const screen = screenAt(icon);
    const QRect available = screen ? screen->availableGeometry() : QRect();
    if (screen)
        window_->setProperty("availableHeight", available.height() - 2.0 * PanelPlacement::gap);
    const QRect panel = surface();
    const PanelPlacement placement{rectangle(available),
                                   {static_cast<double>(panel.width()), static_cast<double>(panel.height())}};
    const PanelPoint corner = icon ? placement.beside(rectangle(*icon)) : placement.in(corner_);
    const bool growsUpwards = icon ? placement.growsUpwards(rectangle(*icon)) : !isTop(corner_);
    const int margin = panel.x();
    const int left = static_cast<int>(corner.x) - margin;
    const int top = static_cast<int>(corner.y);
    window_->setProperty("growsUpwards", growsUpwards);
    const QPoint position(left,
                          growsUpwards ? top + panel.height() + margin - window_->height() : top - margin);
    windows_.prepare(*window_, {position, corner_, static_cast<int>(PanelPlacement::gap) - margin});
}

void PanelPresenter::limitWindow() {
    const bool isTranslucent = window_->property("isTranslucent").toBool();
    windows_.limit(*window_, surface(), surface().x(), isTranslucent ? 0.0 : kWindowRadius);
}

void PanelPresenter::pressedAt(QPoint native) {
    const std::optional<QPoint> place = windows_.place(native);
    // An answer to the question for consent is a press outside too.
    if (!isPanelVisible() || model_.isAskingForConsent() ||
        (place && (isOnPanel(*place) || isSecondOfDoubleClick(*place))))
        return;
    closingPress_.pressed();
    closedFrom_ = place;
    hide();
}

bool PanelPresenter::isOnPanel(QPoint place) const {
    return surface().translated(window_->position()).contains(place);
}

bool PanelPresenter::isSecondOfDoubleClick(QPoint place) const {
    const std::chrono::milliseconds doubleClick(QGuiApplication::styleHints()->mouseDoubleClickInterval());
    return opening_ && ClosingPress::Clock::now() - opening_->time < doubleClick &&
           isOn(opening_->icon, place);
}

} // namespace vello

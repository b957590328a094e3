// SPDX-License-Identifier: Apache-2.0
#include "UI/Shell/PanelPresenter.h"

#include "Renderer.h"
#include "UI/Panel/PanelModel.h"
#include "UI/Panel/Theme.h"

#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlExtensionPlugin>
#include <QScreen>
#include <QStyleHints>

#include <chrono>
#include <stdexcept>
#include <utility>

Q_IMPORT_QML_PLUGIN(VelloPlugin)

namespace vello {
namespace {

constexpr double kWindowRadius = 16.0;
/// In pixels. Tolerance for the pointer's motion while its button is down and for an inexact place of an
/// item.
constexpr int kSlip = 16;
/// A desktop reports one change of its screens in several steps: the screen, its bars, its scale.
constexpr std::chrono::milliseconds kSettlingTime{100};

PanelRectangle rectangle(const QRect& rect) {
    return {static_cast<double>(rect.x()), static_cast<double>(rect.y()), static_cast<double>(rect.width()),
            static_cast<double>(rect.height())};
}

bool isOn(const QRect& icon, QPoint place) {
    return icon.adjusted(-kSlip, -kSlip, kSlip, kSlip).contains(place);
}

QScreen* screenAt(const std::optional<QRect>& icon) {
    return icon ? QGuiApplication::screenAt(icon->center()) : nullptr;
}

ScreenCorner cornerAtBar(const PanelRectangle& screen, const PanelRectangle& available) {
    return statusCorner(barEdge(screen, available).value_or(ScreenEdge::top),
                        QGuiApplication::isRightToLeft());
}

} // namespace

PanelPresenter::PanelPresenter(PanelModel& model, Theme& theme, WindowSystem& windows,
                               std::optional<ScreenCorner> corner)
    : model_(model), windows_(windows), corner_(corner), theme_(theme) {
    QQuickWindow::setDefaultAlphaBuffer(true);
    chooseRenderer();
    connect(&windows_, &WindowSystem::buttonPressed, this, &PanelPresenter::pressedAt);
    connect(&windows_, &WindowSystem::buttonReleased, this, &PanelPresenter::releasedAt);
    connect(&windows_, &WindowSystem::pressedOutside, this, &PanelPresenter::hide);
    connect(&windows_, &WindowSystem::keyboardLost, this, &PanelPresenter::loseKeyboard);
    connect(&windows_, &WindowSystem::translucencyChanged, &settling_, qOverload<>(&QTimer::start));
    connect(&windows_, &WindowSystem::windowClosed, this, [this] {
        isClosedByTheSystem_ = isPanelVisible();
        hide();
    });
    connect(&model_, &PanelModel::aboutRequested, this, &PanelPresenter::showAbout);
    settling_.setSingleShot(true);
    settling_.setInterval(kSettlingTime);
    connect(&settling_, &QTimer::timeout, this, &PanelPresenter::settle);
    for (QScreen* const screen : QGuiApplication::screens())
        watch(screen);
    connect(qGuiApp, &QGuiApplication::screenAdded, this, &PanelPresenter::watch);
    connect(qGuiApp, &QGuiApplication::screenAdded, &settling_, qOverload<>(&QTimer::start));
    connect(qGuiApp, &QGuiApplication::screenRemoved, &settling_, qOverload<>(&QTimer::start));
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
    if (!source.isReady()) // or Qt 6.4 would not survive the next call
        throw std::runtime_error(source.errorString().toStdString());
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
    connect(window_.get(), &QWindow::activeChanged, this,
            [this] { hasHadKeyboard_ = hasHadKeyboard_ || window_->isActive(); });
    connect(window_.get(), &QWindow::visibleChanged, this, [this](bool isVisible) {
        model_.setShown(isVisible);
        emit visibleChanged(isVisible);
    });
}

void PanelPresenter::show(std::optional<QRect> icon) {
    if (!window_)
        makeWindow();
    if (!isPanelVisible()) {
        if (screenAt(icon))
            lastIcon_ = icon;
        hasHadKeyboard_ = false;
        isPressedOutside_ = false;
        isClosedByTheSystem_ = false;
        place();
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

WindowPlace PanelPresenter::choosePlace() {
    QScreen* const screenOfIcon = screenAt(lastIcon_);
    QScreen* const screen = screenOfIcon ? screenOfIcon : windows_.activeScreen();
    if (!screen)
        return {};
    const std::optional<QRect> workArea = windows_.workArea(*screen);
    const PanelRectangle available = rectangle(workArea.value_or(screen->geometry()));
    window_->setProperty("availableHeight", available.height - 2.0 * PanelPlacement::gap);
    const QRect panel = surface();
    const PanelPlacement placement{available,
                                   {static_cast<double>(panel.width()), static_cast<double>(panel.height())}};
    PanelAnchor anchor{corner_.value_or(cornerAtBar(rectangle(screen->geometry()), available)),
                       PanelPlacement::gap, PanelPlacement::gap};
    PanelPoint corner = placement.in(anchor.corner);
    if (screenOfIcon) {
        anchor = placement.anchor(rectangle(*lastIcon_));
        corner = placement.beside(rectangle(*lastIcon_));
    }
    const int margin = panel.x();
    const int top = static_cast<int>(corner.y);
    const int windowTop =
        isTop(anchor.corner) ? top - margin : top + panel.height() + margin - window_->height();
    return {{static_cast<int>(corner.x) - margin, windowTop},
            margin,
            anchor.corner,
            static_cast<int>(anchor.horizontal) - margin,
            static_cast<int>(anchor.vertical) - margin,
            screenOfIcon || workArea ? screen : nullptr};
}

void PanelPresenter::place() {
    window_->setProperty("isTranslucent", windows_.hasTranslucency());
    place_ = choosePlace();
    window_->setProperty("growsUpwards", !isTop(place_.corner));
    windows_.prepare(*window_, place_);
}

void PanelPresenter::limitWindow() {
    const bool isTranslucent = window_->property("isTranslucent").toBool();
    windows_.limit(*window_, surface(), surface().x(), isTranslucent ? 0.0 : kWindowRadius);
}

void PanelPresenter::pressedAt(QPoint native) {
    isPressedOutside_ = false; // the former release may not have been reported
    const std::optional<QPoint> place = windows_.place(native);
    // An answer to the question for consent is a press outside too.
    if (!isPanelVisible() || model_.isAskingForConsent() ||
        (place && (isOnPanel(*place) || isSecondOfDoubleClick(*place))))
        return;
    closingPress_.pressed();
    closedFrom_ = place;
    isPressedOutside_ = true;
}

/// A press outside closes the panel when its button is released, because until then it may become a drag. One
/// that ends on the panel has dropped something there.
void PanelPresenter::releasedAt(QPoint native) {
    closingPress_.released(ClosingPress::Clock::now());
    if (!std::exchange(isPressedOutside_, false))
        return;
    const std::optional<QPoint> place = windows_.place(native);
    if (!place || !isOnPanel(*place))
        hide();
}

/// A press outside took the keyboard away, or the question for consent did. Unless the press was seen,
/// whether its button is held or released is not known.
void PanelPresenter::loseKeyboard() {
    if (!isPanelVisible() || !hasHadKeyboard_ || isPressedOutside_ || model_.isAskingForConsent())
        return;
    closingPress_.pressed();
    closingPress_.released(ClosingPress::Clock::now());
    closedFrom_.reset();
    hide();
}

void PanelPresenter::watch(QScreen* screen) {
    const auto start = qOverload<>(&QTimer::start);
    connect(screen, &QScreen::geometryChanged, &settling_, start);
    connect(screen, &QScreen::availableGeometryChanged, &settling_, start);
    connect(screen, &QScreen::logicalDotsPerInchChanged, &settling_, start);
}

/// Puts an open panel where it belongs now. Hiding and showing it works on every window system.
void PanelPresenter::settle() {
    const bool isMoved =
        isPanelVisible() && (place_ != choosePlace() ||
                             window_->property("isTranslucent").toBool() != windows_.hasTranslucency());
    if (isMoved)
        hide();
    if (isMoved || isClosedByTheSystem_)
        show(std::nullopt);
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

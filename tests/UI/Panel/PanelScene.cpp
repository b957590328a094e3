// SPDX-License-Identifier: Apache-2.0
#include "PanelScene.h"

#include "AudioEngine/Realtime/HostTime.h"
#include "UI/Panel/SpringFollower.h"

#include "support/WaitUntil.h"

#include <QAccessible>
#include <QQmlComponent>
#include <QQmlExtensionPlugin>

#include <bit>
#include <cmath>
#include <functional>
#include <numbers>
#include <stdexcept>

Q_IMPORT_QML_PLUGIN(VelloPlugin)

namespace vello {
namespace {

constexpr double kSampleRate = 48000.0;
constexpr std::size_t kFrames = 480;

std::string lowerCase(std::string text) {
    std::ranges::transform(text, text.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

bool hasMovingSpring(const QQuickItem& item) {
    const auto springs = item.findChildren<SpringFollower*>(Qt::FindDirectChildrenOnly);
    return std::ranges::any_of(springs, &SpringFollower::isMoving) ||
           std::ranges::any_of(item.childItems(), [](QQuickItem* child) { return hasMovingSpring(*child); });
}

QQuickItem* findNamed(QQuickItem* item, const QString& name) {
    if (item->isVisible()) {
        QAccessibleInterface* const face = QAccessible::queryAccessibleInterface(item);
        if (face && face->text(QAccessible::Name) == name && face->role() != QAccessible::NoRole)
            return item;
        for (QQuickItem* const child : item->childItems()) {
            if (QQuickItem* const found = findNamed(child, name))
                return found;
        }
    }
    return nullptr;
}

} // namespace

PanelScene::PanelScene(const Appearance& appearance, Consent consent,
                       const std::filesystem::path& iconProgram)
    : icons(applications, iconProgram), theme(appearance) {
    hardware.setDefaultOutputDevice(hardware.addDevice({.uid = "speakers", .name = "Built-in Speakers"}));
    hardware.addDevice({.uid = "headphones", .name = "Studio Headphones"});
    hardware.addDevice({.uid = "monitor", .name = "Living Room Display Audio (HDMI 2)"});
    authorization.answer = consent;
    controller = std::make_unique<AudioController>(
        AudioControllerPorts{hardware, mainThread, applications, events, authorization, cloud, log},
        folder.path());
    mainThread.runPosted();
    meters = std::make_unique<MeterAudience>(*controller);
    model = std::make_unique<PanelModel>(*controller, *meters, launchAtLogin, icons);
    engine = std::make_unique<PanelEngine>(theme);
    engine->addImportPath(QStringLiteral("qrc:/qt/qml"));
    QObject::connect(engine.get(), &QQmlEngine::warnings, [this](const QList<QQmlError>& warnings) {
        for (const QQmlError& warning : warnings)
            qmlWarnings.append(warning.toString());
    });
}

PanelScene::~PanelScene() {
    delete window;
    engine.reset();
    model.reset();
}

void PanelScene::play(std::int32_t pid, const std::string& name, const std::string& iconName) {
    applications.applications[pid] = {lowerCase(name), name,
                                      iconName.empty() ? std::nullopt : std::optional(iconName)};
    processes_[pid] = hardware.addProcess({.pid = pid});
    mainThread.advance(std::chrono::milliseconds(300));
}

void PanelScene::stop(std::int32_t pid) {
    hardware.removeObject(processes_.at(pid));
    mainThread.advance(std::chrono::milliseconds(300));
}

void PanelScene::hear(const std::vector<float>& samples) {
    for (std::size_t begin = 0; begin + kFrames <= samples.size(); begin += kFrames) {
        std::vector<float> in(2 * kFrames);
        for (std::size_t i = 0; i < in.size(); ++i)
            in[i] = samples[begin + i / 2];
        std::vector<float> out(2 * kFrames);
        const auto bytes = static_cast<std::uint32_t>(in.size() * sizeof(float));
        AudioBufferListStorage<1> input{AudioBufferList{1}, {{2, bytes, in.data()}}};
        AudioBufferListStorage<1> output{AudioBufferList{1}, {{2, bytes, out.data()}}};
        for (const auto& [id, tap] : controller->taps())
            hardware.runCycle(tap->aggregateDeviceID(), input.list, output.list);
    }
}

void PanelScene::hearNoise(double seconds) {
    std::uniform_real_distribution<float> white(-0.0012F, 0.0012F);
    float brown = 0.0F;
    std::vector<float> samples(static_cast<std::size_t>(seconds * kSampleRate));
    for (float& sample : samples) {
        brown = 0.97F * brown + 0.12F * white(random_);
        sample = brown + 0.02F * white(random_);
    }
    hear(samples);
}

void PanelScene::hearBeats(double beatsPerMinute, double seconds) {
    constexpr double decay = 0.03; // seconds
    std::uniform_real_distribution<double> white(-0.5, 0.5);
    std::vector<float> samples(static_cast<std::size_t>(seconds * kSampleRate));
    for (std::size_t frame = 0; frame < samples.size(); ++frame) {
        const double sinceBeat = std::fmod(static_cast<double>(frame) / kSampleRate, 60.0 / beatsPerMinute);
        samples[frame] = static_cast<float>(white(random_) * std::exp(-sinceBeat / decay));
    }
    hear(samples);
}

void PanelScene::setLevel(const std::string& sourceID, float level) const {
    controller->taps().at(sourceID)->realtimeContext()->levelBits = std::bit_cast<std::uint32_t>(level);
}

void PanelScene::clip(const std::string& sourceID) const {
    controller->taps().at(sourceID)->realtimeContext()->lastClippedHostTime = hostTime(mainThread.now());
}

void PanelScene::tickMeters() {
    mainThread.advance(std::chrono::milliseconds(33));
}

SourceItem* PanelScene::item(const std::string& sourceID) {
    SourceItem* found = nullptr;
    model->sources()->forEach([&](SourceItem& item) {
        if (item.source().id == sourceID)
            found = &item;
    });
    return found;
}

QQuickItem* PanelScene::named(const QString& accessibleName) const {
    return findNamed(window->contentItem(), accessibleName);
}

QQuickWindow* PanelScene::openWindow(const QString& component, const QVariantMap& properties) {
    QQmlComponent source(engine.get(), QUrl(QStringLiteral("qrc:/qt/qml/Vello/%1.qml").arg(component)));
    QObject* const made = source.createWithInitialProperties(properties);
    window = qobject_cast<QQuickWindow*>(made);
    if (!window)
        throw std::runtime_error(source.errorString().toStdString());
    window->show();
    model->setShown(true);
    return window;
}

QQuickWindow* PanelScene::openPanel() {
    return openWindow(QStringLiteral("PanelWindow"),
                      {{QStringLiteral("panel"), QVariant::fromValue(model.get())}});
}

QQuickWindow* PanelScene::openAbout() {
    return openWindow(QStringLiteral("AboutWindow"), {});
}

void PanelScene::await(const char* what, const std::function<bool()>& isMet) {
    if (!waitUntil(isMet))
        throw std::runtime_error(std::string("waited in vain: ").append(what));
}

void PanelScene::settle() {
    const auto isStill = [this] { return !hasMovingSpring(*window->contentItem()); };
    await("every spring to rest", isStill);
    await("every icon to be found or not", [this] { return !icons.isLooking(); });
    if (!window->isVisible()) // a hidden window is not rendered
        return;
    await("the window to be exposed", [this] { return window->isExposed(); });
    bool hasDrawn = false;
    const auto connection =
        QObject::connect(window, &QQuickWindow::afterRendering, window, [&hasDrawn] { hasDrawn = true; });
    window->update();
    await("the window to be drawn, with every spring at rest", [&] { return hasDrawn && isStill(); });
    QObject::disconnect(connection);
}

QImage PanelScene::picture() {
    settle();
    return window->grabWindow();
}

} // namespace vello

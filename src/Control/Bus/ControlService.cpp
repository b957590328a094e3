// SPDX-License-Identifier: Apache-2.0
#include "Control/Bus/ControlService.h"

#include "Control/Bus/StateMaps.h"
#include "Control/CommandLine/Version.h"
#include "Control/State/OutsideValues.h"
#include "Control/State/StateWords.h"
#include "ControllerState.h"
#include "DBusNames.h"
#include "PresetImport.h"

#include <controladaptor.h>
#include <QDBusMessage>

namespace vello {
namespace {

using namespace std::chrono_literals;

const char* errorName(OutsideValueError::Kind kind) {
    switch (kind) {
    case OutsideValueError::Kind::unknownSource:
        return "UnknownSource";
    case OutsideValueError::Kind::unknownPreset:
        return "UnknownPreset";
    case OutsideValueError::Kind::unknownOutput:
        return "UnknownOutput";
    case OutsideValueError::Kind::invalidValue:
        break;
    }
    return "InvalidValue";
}

QString permissionText(const RunningState& state) {
    return QString::fromStdString(std::string(word(state.consent)));
}

void checkFitsSource(const SettingsChange& change, std::string_view sourceID) {
    if (change.downmixesSurround && sourceID == kSystemSourceID)
        throw OutsideValueError(OutsideValueError::Kind::invalidValue,
                                "the downmix belongs to one application; name that instead of the system");
}

} // namespace

ControlService::ControlService(AudioController& controller, MeterAudience& audience, MainThread& mainThread,
                               ShowPanelAction showPanel)
    : controller_(controller), mainThread_(mainThread), showPanel_(std::move(showPanel)),
      subscriptions_(audience, mainThread,
                     [this] { return encodeMeters(runningState(controller_).sources); }) {
    registerBusTypes();
    auto* adaptor = new ControlAdaptor(this);
    // The bus library lets any client set the adaptor's object name, of any length.
    connect(adaptor, &QObject::objectNameChanged, adaptor, [adaptor] { adaptor->setObjectName({}); });
    observe();
}

bool ControlService::appear(const QDBusConnection& bus) {
    told_ = runningState(controller_);
    bus_ = bus;
    return bus_->registerObject(dbus::kPath, this, QDBusConnection::ExportAdaptors);
}

void ControlService::disappear() {
    subscriptions_.clear();
    bus_.reset();
}

// Properties

QString ControlService::version() const {
    return kVersion;
}

bool ControlService::isProcessingEnabled() const {
    return controller_.isProcessingEnabled().value();
}

QString ControlService::permission() const {
    return permissionText(runningState(controller_));
}

QString ControlService::saveProblem() const {
    return QString::fromStdString(runningState(controller_).saveProblem);
}

MapList ControlService::sources() const {
    return encodeSources(runningState(controller_).sources);
}

MapList ControlService::outputs() const {
    return encodeOutputs(runningState(controller_).outputs);
}

MapList ControlService::presets() const {
    return encodePresets(runningState(controller_).presets);
}

// Methods

template <class Action> void ControlService::answer(Action action) {
    try {
        action();
    } catch (const OutsideValueError& error) {
        sendErrorReply(QString::fromLatin1(dbus::kErrorPrefix).append(QLatin1String(errorName(error.kind()))),
                       QString::fromUtf8(error.what()));
    }
}

void ControlService::SetSettings(const QString& source, const QVariantMap& changes) {
    answer([&] {
        const std::string id = knownSourceID(source);
        const SettingsChange change = decodeChange(changes);
        checkFitsSource(change, id);
        const SettingsChoices choices{controller_.userPresets().value(), controller_.outputRoutes().value()};
        controller_.updateSettings(changedSettings(controller_.settings(id), change, choices), id);
    });
}

void ControlService::SetProcessingEnabled(bool enabled) {
    controller_.setProcessingEnabled(enabled);
}

void ControlService::SavePreset(const QString& name, const QList<double>& bandGains) {
    answer([&] {
        const std::vector<double> gains(bandGains.begin(), bandGains.end());
        checkPresetName(name.toStdString());
        checkGains(gains);
        controller_.saveUserPreset(name.toStdString(), gains);
    });
}

void ControlService::Save() {
    if (const auto problem = controller_.save())
        sendErrorReply(QString::fromLatin1(dbus::kErrorPrefix).append("NotSaved"),
                       QString::fromStdString(sentence(*problem)));
}

QVariantMap ControlService::ImportPreset(const QString& name, const QByteArray& content) {
    QVariantMap result;
    answer([&] {
        const std::string_view bytes(content.constData(), static_cast<std::size_t>(content.size()));
        const ImportedPreset preset = importedPreset(name.toStdString(), bytes);
        controller_.saveUserPreset(preset.name, preset.bandGains);
        result = encodeImport(preset);
    });
    return result;
}

QString ControlService::ExportPresets() {
    QString result;
    answer([&] { result = QString::fromStdString(writePresetFile(controller_.userPresets().value())); });
    return result;
}

void ControlService::RequestPermission() {
    controller_.capturePermission().request();
}

void ControlService::ShowPanel(const QString& activationToken) {
    if (showPanel_)
        return showPanel_(activationToken.toStdString());
    sendErrorReply(QString::fromLatin1(dbus::kErrorPrefix).append("NoPanel"),
                   "VELLO runs without a panel (vello --headless); end it and start vello");
}

QList<QVariantMap> ControlService::ListExemptStreams() const {
    return encodeExemptStreams(exemptStreams(controller_));
}

QList<QVariantMap> ControlService::ListReadyApplications() const {
    return encodeReadyApplications(readyApplications(controller_));
}

void ControlService::SubscribeLevels() {
    subscriptions_.add(connection(), message().service());
}

void ControlService::UnsubscribeLevels() {
    subscriptions_.remove(message().service());
}

/// Accepts a playing source, a source with stored settings, or one with only exempt streams.
std::string ControlService::knownSourceID(const QString& id) const {
    const auto isMeant = [&id](const std::string& known) { return QString::fromStdString(known) == id; };
    for (const AppAudioSource& source : controller_.sources().value())
        if (isMeant(source.id))
            return source.id;
    for (const auto& [known, settings] : controller_.settingsBySourceID().value())
        if (isMeant(known))
            return known;
    for (const ExemptStream& stream : controller_.exemptStreams())
        if (stream.sourceID && isMeant(*stream.sourceID))
            return *stream.sourceID;
    throw OutsideValueError(OutsideValueError::Kind::unknownSource,
                            "there is no such source; vello status lists the available ones");
}

// Changes

void ControlService::observe() {
    const auto watch = [this](const auto& published) {
        observations_.push_back(published.observe([this](const auto&) { scheduleNotice(); }));
    };
    watch(controller_.sources());
    watch(controller_.settingsBySourceID());
    watch(controller_.outputRoutes());
    watch(controller_.userPresets());
    watch(controller_.isProcessingEnabled());
    watch(controller_.tapStates());
    watch(controller_.capturePermission().status());
    watch(controller_.saveProblem());
}

/// Combines simultaneous changes into one signal.
void ControlService::scheduleNotice() {
    if (!notice_ && bus_)
        notice_ = mainThread_.after(0ms, [this] {
            notice_.reset();
            tellChanges();
        });
}

void ControlService::tellChanges() {
    if (!bus_)
        return;
    RunningState state = runningState(controller_);
    const QVariantMap changed = changes(state);
    told_ = std::move(state);
    if (changed.isEmpty())
        return;
    QDBusMessage signal =
        QDBusMessage::createSignal(dbus::kPath, dbus::kPropertiesInterface, "PropertiesChanged");
    signal << QString::fromLatin1(dbus::kInterface) << changed << QStringList();
    bus_->send(signal);
}

QVariantMap ControlService::changes(const RunningState& state) const {
    QVariantMap changed;
    const auto add = [&changed](const char* name, const QVariant& before, const QVariant& now) {
        if (before != now)
            changed.insert(QString::fromLatin1(name), now);
    };
    const auto list = [](const MapList& maps) { return QVariant::fromValue(maps); };
    add("ProcessingEnabled", told_.isProcessingEnabled, state.isProcessingEnabled);
    add("Permission", permissionText(told_), permissionText(state));
    add("SaveProblem", QString::fromStdString(told_.saveProblem), QString::fromStdString(state.saveProblem));
    add("Sources", list(encodeSources(told_.sources)), list(encodeSources(state.sources)));
    add("Outputs", list(encodeOutputs(told_.outputs)), list(encodeOutputs(state.outputs)));
    add("Presets", list(encodePresets(told_.presets)), list(encodePresets(state.presets)));
    return changed;
}

} // namespace vello

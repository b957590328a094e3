// SPDX-License-Identifier: Apache-2.0
#include "Control/Bus/ControlService.h"

#include "Control/Bus/StateMaps.h"
#include "Control/CommandLine/Version.h"
#include "Control/State/Lookup.h"
#include "Control/State/OutsideValues.h"
#include "Control/State/StateWords.h"
#include "ControllerState.h"
#include "DBusNames.h"
#include "PresetImport.h"

#include <algorithm>

#include <controladaptor.h>
#include <QDBusMessage>

namespace vello {
namespace {

using namespace std::chrono_literals;

/// "UnknownSource" for the word "unknownSource".
QString errorName(OutsideValueError::Kind kind) {
    const std::string_view name = word(kind);
    QString text = QString::fromLatin1(name.data(), static_cast<int>(name.size()));
    text[0] = text[0].toUpper();
    return text;
}

QString permissionText(Consent consent) {
    return QString::fromStdString(std::string(word(consent)));
}

void checkFitsSource(const SettingsChange& change, std::string_view sourceID) {
    if (change.downmixesSurround && sourceID == kSystemSourceID)
        throw OutsideValueError(OutsideValueError::Kind::invalidValue,
                                "the downmix belongs to one application; name that instead of the system");
}

} // namespace

ControlService::ControlService(AudioController& controller, MeterAudience& audience, MainThread& mainThread,
                               ShowPanelAction showPanel, ReadHealth readHealth)
    : controller_(controller), mainThread_(mainThread), showPanel_(std::move(showPanel)),
      readHealth_(std::move(readHealth)),
      subscriptions_(audience, mainThread, [this] { return encodeMeters(sourceStates(controller_)); }) {
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
    return permissionText(consent(controller_));
}

QString ControlService::saveProblem() const {
    return QString::fromStdString(vello::saveProblem(controller_));
}

MapList ControlService::sources() const {
    return encodeSources(sourceStates(controller_));
}

MapList ControlService::outputs() const {
    return encodeOutputs(controller_.outputRoutes().value());
}

MapList ControlService::presets() const {
    return encodePresets(presetStates(controller_.userPresets().value()));
}

// Methods

template <class Action> void ControlService::answer(Action action) {
    try {
        action();
    } catch (const OutsideValueError& error) {
        sendErrorReply(QString::fromLatin1(dbus::kErrorPrefix).append(errorName(error.kind())),
                       QString::fromUtf8(error.what()));
    }
}

void ControlService::SetSettings(const QString& source, const QVariantMap& changes) {
    answer([&] {
        const SettingsChange change = decodeChange(changes);
        const std::string id = sourceID(source, change.isNew);
        checkFitsSource(change, id);
        const SettingsChoices choices{controller_.userPresets().value(), controller_.outputRoutes().value()};
        controller_.updateSettings(changedSettings(settingsBefore(change, id), change, choices), id);
    });
}

void ControlService::SetProcessingEnabled(bool enabled) {
    controller_.setProcessingEnabled(enabled);
}

void ControlService::SavePreset(const QString& name, const QList<double>& bandGains) {
    answer([&] {
        const std::vector<double> gains(bandGains.begin(), bandGains.end());
        checkNewPresetName(name.toStdString());
        checkGains(gains);
        controller_.saveUserPreset(name.toStdString(), gains);
    });
}

void ControlService::Save() {
    if (const auto problem = controller_.save()) {
        const bool isSaved = problem->kind == SaveProblem::Kind::notShared;
        sendErrorReply(QString::fromLatin1(dbus::kErrorPrefix)
                           .append(QLatin1String(isSaved ? dbus::kNotShared : dbus::kNotSaved)),
                       QString::fromStdString(sentence(*problem)));
    }
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

void ControlService::DeletePreset(const QString& name) {
    answer([&] {
        checkHasUserPreset(name.toStdString());
        controller_.deleteUserPreset(name.toStdString());
    });
}

void ControlService::RenamePreset(const QString& name, const QString& newName) {
    answer([&] {
        checkHasUserPreset(name.toStdString());
        checkNewPresetName(newName.toStdString());
        controller_.renameUserPreset(name.toStdString(), newName.toStdString());
    });
}

void ControlService::UndoSettings(const QString& source) {
    answer([&] {
        if (!controller_.undoSettings(source.toStdString()))
            throw OutsideValueError(OutsideValueError::Kind::unknownSource,
                                    "there is nothing to undo: since VELLO started, no settings of such a "
                                    "source have changed");
    });
}

void ControlService::ForgetSource(const QString& source) {
    answer([&] {
        if (!controller_.forgetSource(source.toStdString()))
            throw OutsideValueError(OutsideValueError::Kind::unknownSource,
                                    "there are no stored settings of such a source; vello status --all "
                                    "lists those that have some");
    });
}

QVariantMap ControlService::Diagnose() const {
    return encodeHealth(readHealth_());
}

void ControlService::RequestPermission() {
    controller_.capturePermission().request();
}

void ControlService::ShowPanel(const QString& activationToken) {
    if (showPanel_)
        return showPanel_(activationToken.toStdString());
    sendErrorReply(
        QString::fromLatin1(dbus::kErrorPrefix).append("NoPanel"),
        "VELLO runs without a panel (vello --headless); end it (a service: systemctl --user stop vello) "
        "and start vello");
}

QList<QVariantMap> ControlService::ListExemptStreams() const {
    return encodeExemptStreams(exemptStreams(controller_));
}

QList<QVariantMap> ControlService::ListReadyApplications() const {
    return encodeReadyApplications(readyApplications(controller_));
}

QList<QVariantMap> ControlService::ListStoredSources() const {
    return encodeSources(storedSources(controller_));
}

QStringList ControlService::ListPresets(QStringList& builtInNames, QList<double>& gains) const {
    PresetLists lists = encodePresetLists(presetStates(controller_.userPresets().value()));
    builtInNames = std::move(lists.builtInNames);
    gains = std::move(lists.gains);
    return std::move(lists.ids);
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

/// A new source must be called new, so that a misspelled id is not taken for one.
std::string ControlService::sourceID(const QString& id, bool isNew) const {
    if (!isNew || id == QLatin1String(kSystemSourceID.data(), kSystemSourceID.size()))
        return knownSourceID(id);
    checkNewSourceID(id.toStdString());
    return id.toStdString();
}

/// The settings that a change starts from.
EQSettings ControlService::settingsBefore(const SettingsChange& change, const std::string& sourceID) const {
    return change.isRelative() ? controller_.settingsInForce(sourceID) : controller_.settings(sourceID);
}

/// A preset that came from a file may have the id of a built-in one, and can be got rid of.
void ControlService::checkHasUserPreset(const std::string& name) const {
    const auto& presets = controller_.userPresets().value();
    if (std::ranges::find(presets, name, &UserEQPreset::name) != presets.end())
        return;
    if (EQPreset::fromRawValue(name))
        throw OutsideValueError(OutsideValueError::Kind::invalidValue,
                                "this preset is built in; only saved ones can be deleted and renamed");
    throw OutsideValueError(OutsideValueError::Kind::unknownPreset,
                            "there is no such saved preset; vello presets lists the available ones");
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
    const auto add = [&changed](const char* name, bool isChanged, auto encoded) {
        if (isChanged)
            changed.insert(QString::fromLatin1(name), encoded());
    };
    const auto list = [](const MapList& maps) { return QVariant::fromValue(maps); };
    // The maps of the sources are compared, because their meters do not count.
    const MapList sources = encodeSources(state.sources);
    add("ProcessingEnabled", told_.isProcessingEnabled != state.isProcessingEnabled,
        [&] { return QVariant(state.isProcessingEnabled); });
    add("Permission", told_.consent != state.consent, [&] { return permissionText(state.consent); });
    add("SaveProblem", told_.saveProblem != state.saveProblem,
        [&] { return QString::fromStdString(state.saveProblem); });
    add("Sources", encodeSources(told_.sources) != sources, [&] { return list(sources); });
    add("Outputs", told_.outputs != state.outputs, [&] { return list(encodeOutputs(state.outputs)); });
    add("Presets", told_.presets != state.presets, [&] { return list(encodePresets(state.presets)); });
    return changed;
}

} // namespace vello

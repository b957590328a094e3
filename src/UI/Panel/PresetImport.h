// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Controller/AudioController.h"
#include "PresetFiles/PresetFile.h"

#include <QObject>
#include <QStringList>
#include <QtQmlIntegration>
#include <QUrl>

#include <string_view>
#include <vector>

namespace vello {

/// A file of presets that the user is asked about before anything is saved.
class PresetImport : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the panel's model")
    /// Whether there is something to show.
    Q_PROPERTY(bool isOpen READ isOpen NOTIFY changed)
    /// Whether the file holds something to save.
    Q_PROPERTY(bool hasPresets READ hasPresets NOTIFY changed)
    /// Whether the file holds one preset, which the user may name.
    Q_PROPERTY(bool hasOnePreset READ hasOnePreset NOTIFY changed)
    Q_PROPERTY(QString suggestedName READ suggestedName NOTIFY changed)
    /// How close the bands come to the file, or why it cannot be read.
    Q_PROPERTY(QString summary READ summary NOTIFY changed)
    /// What the bands cannot express.
    Q_PROPERTY(QStringList notes READ notes NOTIFY changed)

public:
    /// `controller` must outlive the object.
    explicit PresetImport(AudioController& controller) : controller_(controller) {}

    bool isOpen() const { return !presets_.empty() || !failure_.isEmpty(); }
    bool hasPresets() const { return !presets_.empty(); }
    bool hasOnePreset() const { return presets_.size() == 1; }
    QString suggestedName() const;
    QString summary() const;
    QStringList notes() const;

    /// Reads a file of this machine. Blocks on disk I/O for at most kLargestPresetFile.
    Q_INVOKABLE void openFile(const QUrl& file);
    /// Offers the presets of a file that has been read.
    void offer(const QString& fileName, std::string_view content);
    /// Whether the one preset, or else every preset by its own name, can be saved.
    Q_INVOKABLE bool canSave(const QString& name) const;
    /// Saves and closes. Does nothing unless canSave().
    Q_INVOKABLE void save(const QString& name);
    Q_INVOKABLE void close();

signals:
    void changed();

private:
    void fail(const PresetRemark& remark);

    AudioController& controller_;
    std::vector<ImportedPreset> presets_;
    QString failure_;
};

} // namespace vello

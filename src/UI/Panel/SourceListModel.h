// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Panel/SourceItem.h"

#include <QAbstractListModel>
#include <QtQmlIntegration>

#include <functional>
#include <memory>
#include <vector>

namespace vello {

class AppIconProvider;

/// The cards, in the order of the model. A source that stays keeps its item; rows move, come and go one by
/// one.
class SourceListModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the panel's model")
    Q_PROPERTY(int count READ count NOTIFY countChanged)

public:
    enum Role { sourceRole = Qt::UserRole + 1 };

    SourceListModel(AudioController& controller, AppIconProvider& icons);

    /// Brings the rows in line with what the controller publishes.
    void refreshSources();
    void forEach(const std::function<void(SourceItem&)>& action) const;
    int count() const { return static_cast<int>(items_.size()); }

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

signals:
    void countChanged();
    /// Of one of the cards.
    void toggled(const std::string& sourceID);

private:
    void refreshIcons();
    void removeAbsent(const std::vector<AppAudioSource>& sources);
    void place(const AppAudioSource& source, int row);
    int rowOf(const std::string& id) const;

    AudioController& controller_;
    AppIconProvider& icons_;
    std::vector<std::unique_ptr<SourceItem>> items_;
};

} // namespace vello

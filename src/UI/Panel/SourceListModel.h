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

/// The cards, in the order of the controller's sources. A source that stays keeps its item. Rows are moved,
/// inserted and removed one at a time. While the list is shown, the row of a source that is gone stays while
/// its card is held, and then until the view has moved the card out.
class SourceListModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the panel's model")
    /// Number of cards that are not leaving.
    Q_PROPERTY(int count READ count NOTIFY countChanged)

public:
    enum Role { sourceRole = Qt::UserRole + 1 };

    /// All arguments must outlive the model.
    SourceListModel(AudioController& controller, AppIconProvider& icons, FrameClock& clock);

    /// Updates the rows to match the controller's sources.
    void refreshSources();
    void setShown(bool isShown);
    void forEach(const std::function<void(SourceItem&)>& action) const;
    int count() const;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

signals:
    void countChanged();
    /// A card was toggled.
    void importRequested();
    void toggled(const std::string& sourceID);

private:
    void refreshIcons();
    SourceItem& item(int row) const { return *items_[static_cast<std::size_t>(row)]; }
    void removeAbsent(const std::vector<AppAudioSource>& sources);
    void remove(int row);
    std::unique_ptr<SourceItem> make(const AppAudioSource& source);
    void place(const AppAudioSource& source, int row);
    int rowOf(const std::string& id) const;

    AudioController& controller_;
    AppIconProvider& icons_;
    FrameClock& clock_;
    std::vector<std::unique_ptr<SourceItem>> items_;
    bool isShown_ = false;
};

} // namespace vello

// SPDX-License-Identifier: Apache-2.0
#include "UI/Panel/SourceListModel.h"

#include "UI/Panel/AppIconProvider.h"

#include <QQmlEngine>

#include <algorithm>

namespace vello {

SourceListModel::SourceListModel(AudioController& controller, AppIconProvider& icons, FrameClock& clock)
    : controller_(controller), icons_(icons), clock_(clock) {
    connect(&icons_, &AppIconProvider::found, this, &SourceListModel::refreshIcons);
}

void SourceListModel::refreshIcons() {
    forEach([this](SourceItem& item) { item.setSource(item.source(), icons_.knownIcon(item.source())); });
}

void SourceListModel::refreshSources() {
    const std::vector<AppAudioSource> sources = controller_.sources().value();
    const int before = count();
    removeAbsent(sources);
    for (std::size_t row = 0; row < sources.size(); ++row)
        place(sources[row], static_cast<int>(row));
    if (count() != before)
        emit countChanged();
}

void SourceListModel::removeAbsent(const std::vector<AppAudioSource>& sources) {
    for (int row = count() - 1; row >= 0; --row) {
        const std::string& id = items_[static_cast<std::size_t>(row)]->source().id;
        if (std::ranges::find(sources, id, &AppAudioSource::id) != sources.end())
            continue;
        beginRemoveRows({}, row, row);
        // Deleted later, because the row's delegate must release the item first.
        items_[static_cast<std::size_t>(row)].release()->deleteLater();
        items_.erase(items_.begin() + row);
        endRemoveRows();
    }
}

void SourceListModel::place(const AppAudioSource& source, int row) {
    const int present = rowOf(source.id);
    if (present < 0) {
        auto item = std::make_unique<SourceItem>(controller_, clock_, source, icons_.icon(source));
        QJSEngine::setObjectOwnership(item.get(), QJSEngine::CppOwnership);
        QJSEngine::setObjectOwnership(item->equalizer(), QJSEngine::CppOwnership);
        SourceItem* const added = item.get();
        connect(added, &SourceItem::toggled, this, [this, added] { emit toggled(added->source().id); });
        connect(item->equalizer(), &EqualizerModel::importRequested, this, &SourceListModel::importRequested);
        beginInsertRows({}, row, row);
        items_.insert(items_.begin() + row, std::move(item));
        endInsertRows();
        return;
    }
    if (present > row) {
        beginMoveRows({}, present, present, {}, row);
        std::rotate(items_.begin() + row, items_.begin() + present, items_.begin() + present + 1);
        endMoveRows();
    }
    items_[static_cast<std::size_t>(row)]->setSource(source, icons_.icon(source));
}

int SourceListModel::rowOf(const std::string& id) const {
    const auto found =
        std::ranges::find_if(items_, [&id](const auto& item) { return item->source().id == id; });
    return found == items_.end() ? -1 : static_cast<int>(found - items_.begin());
}

void SourceListModel::forEach(const std::function<void(SourceItem&)>& action) const {
    for (const auto& item : items_)
        action(*item);
}

int SourceListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : count();
}

QVariant SourceListModel::data(const QModelIndex& index, int role) const {
    if (role != sourceRole || !checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    return QVariant::fromValue(items_[static_cast<std::size_t>(index.row())].get());
}

QHash<int, QByteArray> SourceListModel::roleNames() const {
    return {{sourceRole, "source"}};
}

} // namespace vello

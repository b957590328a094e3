// SPDX-License-Identifier: Apache-2.0
#include "UI/Panel/SourceListModel.h"

#include "UI/Panel/AppIconProvider.h"

#include <QQmlEngine>

#include <algorithm>

namespace vello {
namespace {

bool isListed(const SourceItem& item, const std::vector<AppAudioSource>& sources) {
    return std::ranges::find(sources, item.source().id, &AppAudioSource::id) != sources.end();
}

} // namespace

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
    int row = 0;
    for (const AppAudioSource& source : sources) {
        // A row that stays without its source keeps its place.
        while (row < rowCount() && !isListed(item(row), sources))
            ++row;
        place(source, row++);
    }
    if (count() != before)
        emit countChanged();
}

void SourceListModel::setShown(bool isShown) {
    isShown_ = isShown;
    refreshSources();
}

void SourceListModel::removeAbsent(const std::vector<AppAudioSource>& sources) {
    for (int row = rowCount() - 1; row >= 0; --row) {
        SourceItem& present = item(row);
        const bool stays = isListed(present, sources) || (isShown_ && present.isHeld());
        if (stays || isShown_)
            present.setLeaving(!stays);
        else
            remove(row);
    }
}

void SourceListModel::remove(int row) {
    beginRemoveRows({}, row, row);
    // Deleted later, because the row's delegate must release the item first.
    items_[static_cast<std::size_t>(row)].release()->deleteLater();
    items_.erase(items_.begin() + row);
    endRemoveRows();
}

std::unique_ptr<SourceItem> SourceListModel::make(const AppAudioSource& source) {
    auto owned = std::make_unique<SourceItem>(controller_, clock_, source, icons_.icon(source));
    SourceItem* const made = owned.get();
    QJSEngine::setObjectOwnership(made, QJSEngine::CppOwnership);
    QJSEngine::setObjectOwnership(made->equalizer(), QJSEngine::CppOwnership);
    connect(made, &SourceItem::toggled, this, [this, made] { emit toggled(made->source().id); });
    connect(made->equalizer(), &EqualizerModel::importRequested, this, &SourceListModel::importRequested);
    // Queued, because the view must not lose the card while it handles an event of it.
    connect(made, &SourceItem::heldChanged, this, &SourceListModel::refreshSources, Qt::QueuedConnection);
    connect(
        made, &SourceItem::left, this,
        [this, made] {
            const int row = rowOf(made->source().id);
            if (row >= 0 && item(row).isLeaving())
                remove(row);
        },
        Qt::QueuedConnection);
    return owned;
}

void SourceListModel::place(const AppAudioSource& source, int row) {
    const int present = rowOf(source.id);
    if (present < 0) {
        beginInsertRows({}, row, row);
        items_.insert(items_.begin() + row, make(source));
        endInsertRows();
        return;
    }
    if (present > row) {
        beginMoveRows({}, present, present, {}, row);
        std::rotate(items_.begin() + row, items_.begin() + present, items_.begin() + present + 1);
        endMoveRows();
    }
    item(row).setSource(source, icons_.icon(source));
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

int SourceListModel::count() const {
    return static_cast<int>(
        std::ranges::count(items_, false, [](const auto& item) { return item->isLeaving(); }));
}

int SourceListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(items_.size());
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

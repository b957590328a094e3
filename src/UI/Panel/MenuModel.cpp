// SPDX-License-Identifier: Apache-2.0
#include "UI/Panel/MenuModel.h"

#include <algorithm>
#include <utility>

namespace vello {

void MenuModel::setEntries(std::vector<MenuEntry> entries) {
    if (entries == entries_)
        return;
    if (entries.size() == entries_.size()) {
        entries_ = std::move(entries);
        emit dataChanged(index(0), index(rowCount() - 1));
    } else {
        beginResetModel();
        entries_ = std::move(entries);
        endResetModel();
    }
    emit entriesChanged();
}

bool MenuModel::isEditable() const {
    return std::ranges::count(entries_, MenuEntry::Kind::editable, &MenuEntry::kind) > 0;
}

bool MenuModel::isOfKind(int row, MenuEntry::Kind kind) const {
    return row >= 0 && row < rowCount() && entries_[static_cast<std::size_t>(row)].kind == kind;
}

void MenuModel::requestRenaming(int row) {
    if (isOfKind(row, MenuEntry::Kind::editable))
        emit renamingRequested(row);
}

void MenuModel::requestDeletion(int row) {
    if (isOfKind(row, MenuEntry::Kind::editable))
        emit deletionRequested(row);
}

void MenuModel::requestRestoration(int row) {
    if (isOfKind(row, MenuEntry::Kind::deleted))
        emit restorationRequested(row);
}

QString MenuModel::longestTitle() const {
    const auto longest =
        std::ranges::max_element(entries_, {}, [](const MenuEntry& entry) { return entry.title.size(); });
    return longest == entries_.end() ? QString() : longest->title;
}

int MenuModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(entries_.size());
}

QVariant MenuModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const MenuEntry& entry = entries_[static_cast<std::size_t>(index.row())];
    switch (role) {
    case titleRole:
        return entry.title;
    case isCheckedRole:
        return entry.isChecked;
    case startsGroupRole:
        return entry.startsGroup;
    case isEditableRole:
        return entry.kind == MenuEntry::Kind::editable;
    case isDeletedRole:
        return entry.kind == MenuEntry::Kind::deleted;
    case isActionRole:
        return entry.kind == MenuEntry::Kind::action;
    case menuRole:
        return QVariant::fromValue(const_cast<MenuModel*>(this));
    default:
        return {};
    }
}

QHash<int, QByteArray> MenuModel::roleNames() const {
    return {{titleRole, "title"},
            {isCheckedRole, "isChecked"},
            {startsGroupRole, "startsGroup"},
            {isEditableRole, "isEditable"},
            {isDeletedRole, "isDeleted"},
            {isActionRole, "isAction"},
            {menuRole, "menu"}};
}

} // namespace vello

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QAbstractListModel>
#include <QtQmlIntegration>

#include <vector>

namespace vello {

struct MenuEntry {
    QString title;
    bool isChecked = false;
    bool startsGroup = false; ///< a divider stands before it

    friend bool operator==(const MenuEntry&, const MenuEntry&) = default;
};

/// The lines of a menu of one choice.
class MenuModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the equalizer")

    /// The checked entry has a check mark; else it stands out by its colour.
    Q_PROPERTY(bool showsCheckMarks READ showsCheckMarks CONSTANT)
    /// Every entry finds room in the width of this text.
    Q_PROPERTY(QString longestTitle READ longestTitle NOTIFY entriesChanged)

public:
    enum Role { titleRole = Qt::UserRole + 1, isCheckedRole, startsGroupRole, menuRole };
    enum class Marks { none, check };

    explicit MenuModel(Marks marks) : marks_(marks) {}

    bool showsCheckMarks() const { return marks_ == Marks::check; }
    QString longestTitle() const;
    Q_INVOKABLE void choose(int row) { emit chosen(row); }

    void setEntries(std::vector<MenuEntry> entries);
    const std::vector<MenuEntry>& entries() const { return entries_; }

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

signals:
    void entriesChanged();
    void chosen(int row);

private:
    const Marks marks_;
    std::vector<MenuEntry> entries_;
};

} // namespace vello

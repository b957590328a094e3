// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QAbstractListModel>
#include <QtQmlIntegration>

#include <vector>

namespace vello {

struct MenuEntry {
    QString title;
    bool isChecked = false;
    bool startsGroup = false; ///< a divider precedes it

    friend bool operator==(const MenuEntry&, const MenuEntry&) = default;
};

/// The entries of a menu with a single choice.
class MenuModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the equalizer")

    /// Whether the checked entry has a check mark; otherwise it has another colour.
    Q_PROPERTY(bool showsCheckMarks READ showsCheckMarks CONSTANT)
    /// The longest title; a menu that fits it fits every entry.
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

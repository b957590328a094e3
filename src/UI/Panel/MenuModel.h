// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QAbstractListModel>
#include <QtQmlIntegration>

#include <vector>

namespace vello {

struct MenuEntry {
    enum class Kind {
        choice,   ///< one of the choices
        editable, ///< a choice that the user can rename and delete
        deleted,  ///< was deleted; choosing it brings it back
        action,   ///< does something else
    };

    QString title;
    bool isChecked = false;
    bool startsGroup = false; ///< a divider precedes it
    Kind kind = Kind::choice;

    friend bool operator==(const MenuEntry&, const MenuEntry&) = default;
};

/// The entries of a menu with a single choice.
class MenuModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the equalizer")

    /// Whether the checked entry has a check mark; otherwise it has another colour.
    Q_PROPERTY(bool showsCheckMarks READ showsCheckMarks CONSTANT)
    /// Whether any entry can be renamed and deleted.
    Q_PROPERTY(bool isEditable READ isEditable NOTIFY entriesChanged)
    /// The longest title; a menu that fits it fits every entry.
    Q_PROPERTY(QString longestTitle READ longestTitle NOTIFY entriesChanged)

public:
    enum Role {
        titleRole = Qt::UserRole + 1,
        isCheckedRole,
        startsGroupRole,
        isEditableRole,
        isDeletedRole,
        isActionRole,
        menuRole
    };
    enum class Marks { none, check };

    explicit MenuModel(Marks marks) : marks_(marks) {}

    bool showsCheckMarks() const { return marks_ == Marks::check; }
    bool isEditable() const;
    QString longestTitle() const;
    Q_INVOKABLE void choose(int row) { emit chosen(row); }
    /// These do nothing for an entry of another kind.
    Q_INVOKABLE void requestRenaming(int row);
    Q_INVOKABLE void requestDeletion(int row);
    Q_INVOKABLE void requestRestoration(int row);

    void setEntries(std::vector<MenuEntry> entries);
    const std::vector<MenuEntry>& entries() const { return entries_; }

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

signals:
    void entriesChanged();
    void chosen(int row);
    void renamingRequested(int row);
    void deletionRequested(int row);
    void restorationRequested(int row);

private:
    bool isOfKind(int row, MenuEntry::Kind kind) const;

    const Marks marks_;
    std::vector<MenuEntry> entries_;
};

} // namespace vello

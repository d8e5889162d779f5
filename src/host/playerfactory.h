#pragma once

#include <imediaplay.h>

#include <QMap>
#include <QString>
#include <QStringList>
#include <QWidget>

#include <functional>

/// Makes the player of an item kind as a Qt child of a sized parent widget. A host holds a
/// player through both faces: the QWidget to show, hide and delete, IMediaPlay to drive it.
class PlayerFactory {
public:
    struct Player {
        QWidget* widget = nullptr;
        IMediaPlay* play = nullptr;
        explicit operator bool() const { return widget && play; }
    };
    using Creator = std::function<Player(QWidget* parent)>;

    /// The players this build ships, one registration per kind.
    static PlayerFactory withBuiltinPlayers();

    /// Registers `creator` for `kind`, replacing an earlier one.
    void registerKind(const QString& kind, Creator creator);
    /// Registers a class that derives from QWidget and IMediaPlay and takes the parent.
    template <class T> void registerKind(const QString& kind)
    {
        registerKind(kind, [](QWidget* parent) {
            T* player = new T(parent);
            return Player { player, player };
        });
    }

    bool contains(const QString& kind) const { return m_creators.contains(kind); }
    QStringList kinds() const { return m_creators.keys(); }
    /// A new player for `kind` with `parent` as its Qt parent; an empty Player for a kind
    /// nobody registered.
    Player create(const QString& kind, QWidget* parent) const;

private:
    QMap<QString, Creator> m_creators;
};

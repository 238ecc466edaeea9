#pragma once

#include <koltaconsole/session/serverfacts.h>
#include <koltaconsole/widgets/filterwords.h>

#include <QRect>
#include <QVector>
#include <QWidget>

class QModelIndex;

namespace Kolta {
class TunerClassModel;
}

namespace KoltaConsole {

class Session;

/// Draws the servers: tall cards of a few, small ones of some, and of many those that need attention as lines
/// and the rest as tiles.
class ServerCards : public QWidget
{
    Q_OBJECT

public:
    ServerCards(Session& session, QWidget* parent);

    /// Takes over what the session says; empty `only` for all servers that fit the words.
    void refresh(const QString& only, const FilterWords& words);
    int count() const { return m_places.size(); }
    /// Of these, the servers that have not left by themselves.
    int presentCount() const;
    QString current() const { return m_current; }
    /// For tests: where that server stands; null for nowhere.
    QRect placeOf(const QString& address) const;

Q_SIGNALS:
    void si_Activated(const QString& address);
    void si_MenuWanted(const QString& address, const QPoint& place);
    void si_CurrentChanged(const QRect& place);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    bool event(QEvent* event) override;

private:
    enum class Shape { Tall, Card, Line, Tile };
    struct ClassFigure
    {
        QString name;
        int free = 0;
        int all = 0;
        int depth = 0;
    };
    struct Place
    {
        ServerFacts facts;
        Shape shape = Shape::Tall;
        QRect rect;
        QVector<ClassFigure> classes;
    };
    struct Heading
    {
        QRect rect;
        QString text;
        QString more;
    };

    static QString searchText(const ServerFacts& facts);
    static QString countsText(const TunerCounts& counts);
    void arrange();
    int arrangeCards(Shape shape, QSize size);
    int arrangeMany();
    const Place* placeAt(const QPoint& point) const;
    void setCurrent(const QString& address);
    void describeCurrent();
    void step(int by);
    QVector<ClassFigure> classesOf(const QString& address) const;
    static void appendClasses(const Kolta::TunerClassModel& model, const QModelIndex& parent, int depth,
                              QVector<ClassFigure>& figures);
    void paint(QPainter& painter, const Place& place) const;
    void paintCard(QPainter& painter, const Place& place) const;
    static void paintWork(QPainter& painter, const ServerFacts& facts, QRect rect);
    static QString freeText(const ServerFacts& facts, const ClassFigure& figure);
    void paintClasses(QPainter& painter, const Place& place, QRect rect) const;
    void paintLine(QPainter& painter, const Place& place) const;
    void paintTile(QPainter& painter, const Place& place) const;
    void paintStrip(QPainter& painter, const QRect& rect, const ServerFacts& facts) const;
    QColor textColor(const ServerFacts& facts, bool isDim) const;

    Session& m_session;
    QVector<Place> m_places;
    QVector<Heading> m_headings;
    QString m_current;
};

} // namespace KoltaConsole

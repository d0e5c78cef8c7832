// Draws every icon of the application into PNG files, and a contact sheet showing them all
// enlarged. The PNGs are checked in; run this tool again after changing a drawing (see
// resources/README.md).
//
// All icons share one palette and one construction: a drawing is laid out on a 16-unit grid and
// scaled to its pixel size, outlines are one stroke width per size, and straight edges are snapped
// to the pixel grid so that they stay crisp.

#include <QColor>
#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QPainterPathStroker>
#include <QRadialGradient>
#include <QTextStream>
#include <QTransform>

#include <cmath>
#include <functional>
#include <vector>

namespace
{

namespace Palette
{
const QColor Ink(0x1d, 0x23, 0x2b);           // outlines
const QColor HousingLight(0x55, 0x60, 0x6d);  // signal head, top
const QColor HousingDark(0x24, 0x2a, 0x32);   // signal head, bottom
const QColor Bezel(0x10, 0x13, 0x17);
const QColor SteelLight(0xf1, 0xf4, 0xf7);
const QColor SteelDark(0x93, 0x9e, 0xaa);
const QColor Grey(0x8a, 0x94, 0xa0);
const QColor GreyDark(0x5b, 0x65, 0x71);
const QColor Paper(0xfb, 0xfc, 0xfd);
const QColor PaperLine(0x9d, 0xb4, 0xcc);
const QColor Blue(0x2a, 0x7b, 0xd4);
const QColor BlueLight(0x7c, 0xbb, 0xf5);
const QColor BlueDark(0x17, 0x4e, 0x8f);
const QColor Green(0x2d, 0xa8, 0x4c);
const QColor GreenLight(0x86, 0xe3, 0x8f);
const QColor GreenDark(0x1b, 0x6b, 0x30);
const QColor Red(0xdb, 0x36, 0x2b);
const QColor RedLight(0xff, 0x8a, 0x7c);
const QColor RedDark(0x8c, 0x1c, 0x14);
const QColor Orange(0xf0, 0x8a, 0x1e);
const QColor OrangeLight(0xff, 0xc4, 0x78);
const QColor OrangeDark(0x9a, 0x52, 0x08);
const QColor Wood(0xc8, 0x8a, 0x4e);
const QColor WoodDark(0x86, 0x55, 0x28);
const QColor WarnLight(0xff, 0xe0, 0x6a);
const QColor Warn(0xf6, 0xb4, 0x00);
const QColor WarnDark(0x8f, 0x63, 0x00);
const QColor Glass(0xff, 0xf4, 0xa6);
const QColor GlassDeep(0xff, 0xbe, 0x0b);
const QColor GlassOff(0xe3, 0xe8, 0xed);
const QColor GlassOffDeep(0xa5, 0xaf, 0xba);
} // namespace Palette

// The colour of one signal lens, lit and unlit.
struct LensColour
{
    QColor lit;
    QColor core; // the hot centre of a lit lens
    QColor unlit;
};

const LensColour RedLens{QColor(0xff, 0x3a, 0x2a), QColor(0xff, 0xe2, 0xd6), QColor(0x5c, 0x1d, 0x1a)};
const LensColour AmberLens{QColor(0xff, 0xb0, 0x12), QColor(0xff, 0xf5, 0xcf), QColor(0x5e, 0x42, 0x12)};
const LensColour GreenLens{QColor(0x1e, 0xd8, 0x6c), QColor(0xd8, 0xff, 0xe8), QColor(0x16, 0x46, 0x2c)};

enum class LampState { Off, On, Defective };

// One icon being drawn: the painter and the scale from the 16-unit grid to pixels.
class Canvas
{
public:
    explicit Canvas(QImage &image)
        : m_painter(&image), m_unit(image.width() / 16.0),
          m_stroke(image.width() <= 24 ? 1.0 : image.width() <= 32 ? 2.0 : 3.0)
    {
        m_painter.setRenderHint(QPainter::Antialiasing);
        m_painter.setRenderHint(QPainter::TextAntialiasing);
    }

    QPainter &painter() { return m_painter; }
    qreal unit() const { return m_unit; }
    qreal stroke() const { return m_stroke; }

    qreal len(qreal units) const { return units * m_unit; }
    QPointF pt(qreal x, qreal y) const { return QPointF(x * m_unit, y * m_unit); }

    // A rectangle whose outline of the current stroke width lands on whole pixels.
    QRectF box(qreal x, qreal y, qreal w, qreal h) const
    {
        return QRectF(QPointF(snap(x), snap(y)), QPointF(snap(x + w), snap(y + h)));
    }
    // A filled rectangle without outline, on whole pixels.
    QRectF area(qreal x, qreal y, qreal w, qreal h) const
    {
        return QRectF(QPointF(std::round(len(x)), std::round(len(y))),
                      QPointF(std::round(len(x + w)), std::round(len(y + h))));
    }
    // A pixel coordinate on which a line of the current stroke width is crisp.
    qreal snap(qreal units) const
    {
        const qreal offset = std::fmod(m_stroke, 2.0) != 0.0 ? 0.5 : 0.0;
        return std::round(len(units) - offset) + offset;
    }

    QPen outline(const QColor &colour) const
    {
        return QPen(colour, m_stroke, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    }
    QPen line(const QColor &colour, qreal units) const
    {
        return QPen(colour, len(units), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    }
    QLinearGradient vertical(qreal top, qreal bottom, const QColor &light, const QColor &dark) const
    {
        QLinearGradient gradient(pt(0, top), pt(0, bottom));
        gradient.setColorAt(0, light);
        gradient.setColorAt(1, dark);
        return gradient;
    }

    void fillOutlined(const QPainterPath &path, const QBrush &fill, const QColor &edge)
    {
        m_painter.setPen(outline(edge));
        m_painter.setBrush(fill);
        m_painter.drawPath(path);
    }

private:
    QPainter m_painter;
    qreal m_unit;
    qreal m_stroke;
};

// ---- building blocks -------------------------------------------------------------------------

QPainterPath RoundedBox(const QRectF &rect, qreal radius)
{
    QPainterPath path;
    path.addRoundedRect(rect, radius, radius);
    return path;
}

QPainterPath Circle(const QPointF &centre, qreal radius)
{
    QPainterPath path;
    path.addEllipse(centre, radius, radius);
    return path;
}

// An arrow along the x axis from x0 to x1 (either direction) at height y, all in grid units.
QPainterPath Arrow(const Canvas &c, qreal x0, qreal x1, qreal y, qreal shaft, qreal head, qreal headLength)
{
    const qreal dir = x1 > x0 ? 1.0 : -1.0;
    const qreal neck = x1 - dir * headLength;
    QPolygonF polygon;
    polygon << c.pt(x0, y - shaft / 2) << c.pt(neck, y - shaft / 2) << c.pt(neck, y - head / 2)
            << c.pt(x1, y) << c.pt(neck, y + head / 2) << c.pt(neck, y + shaft / 2)
            << c.pt(x0, y + shaft / 2);
    QPainterPath path;
    path.addPolygon(polygon);
    path.closeSubpath();
    return path;
}

// The same arrow turned to point downwards (x and y swapped).
QPainterPath ArrowDown(const Canvas &c, qreal y0, qreal y1, qreal x, qreal shaft, qreal head, qreal headLength)
{
    QTransform swap(0, 1, 1, 0, 0, 0);
    return swap.map(Arrow(c, y0, y1, x, shaft, head, headLength));
}

// The light a lit lens throws onto its housing.
void DrawGlow(Canvas &c, QPointF mid, qreal radius, const QColor &colour)
{
    QRadialGradient halo(mid, radius);
    QColor light = colour;
    light.setAlpha(170);
    halo.setColorAt(0.55, light);
    light.setAlpha(0);
    halo.setColorAt(1.0, light);
    QPainter &p = c.painter();
    p.setPen(Qt::NoPen);
    p.setBrush(halo);
    p.drawEllipse(mid, radius, radius);
}

// A cross over a lens, white on a black edge so that it reads on every lens colour.
void DrawDefectMark(Canvas &c, QPointF mid, qreal radius)
{
    const qreal arm = 0.46 * radius;
    QPainterPath cross;
    cross.moveTo(mid + QPointF(-arm, -arm));
    cross.lineTo(mid + QPointF(arm, arm));
    cross.moveTo(mid + QPointF(arm, -arm));
    cross.lineTo(mid + QPointF(-arm, arm));
    QPainter &p = c.painter();
    p.setBrush(Qt::NoBrush);
    p.setPen(QPen(Palette::Bezel, 0.22 * radius + 2 * c.stroke(), Qt::SolidLine, Qt::RoundCap));
    p.drawPath(cross);
    p.setPen(QPen(QColor(0xf4, 0xf6, 0xf8), 0.22 * radius, Qt::SolidLine, Qt::RoundCap));
    p.drawPath(cross);
}

// One round signal lens (centre and radius in grid units) in its black bezel: lit, dark, or
// dimmed and crossed out when defective.
void DrawLens(Canvas &c, QPointF centre, qreal radius, const LensColour &colour, LampState state, bool glow = true)
{
    QPainter &p = c.painter();
    const QPointF mid = c.pt(centre.x(), centre.y());
    const qreal r = c.len(radius);
    const qreal bezel = r + c.len(1.1);
    if (state == LampState::On && glow)
        DrawGlow(c, mid, bezel + c.len(2.2), colour.lit);

    p.setPen(Qt::NoPen);
    p.setBrush(Palette::Bezel);
    p.drawEllipse(mid, bezel, bezel);

    QRadialGradient lens(mid, r, mid + QPointF(-0.35 * r, -0.4 * r));
    if (state == LampState::On) {
        lens.setColorAt(0.0, colour.core);
        lens.setColorAt(0.45, colour.lit);
        lens.setColorAt(1.0, colour.lit.darker(125));
    } else {
        // A defective lens keeps more of its colour than a dark one, so it can still be told apart.
        const QColor glass = state == LampState::Defective ? colour.lit.darker(185) : colour.unlit;
        lens.setColorAt(0.0, glass.lighter(190));
        lens.setColorAt(0.6, glass);
        lens.setColorAt(1.0, glass.darker(140));
    }
    p.setBrush(lens);
    p.drawEllipse(mid, r, r);

    // A glint on the glass, bright on a lit lens and faint on a dark one.
    const QPointF glintAt = mid + QPointF(-0.38 * r, -0.42 * r);
    QRadialGradient glint(glintAt, 0.42 * r);
    glint.setColorAt(0.0, QColor(255, 255, 255, state == LampState::On ? 200 : 95));
    glint.setColorAt(1.0, QColor(255, 255, 255, 0));
    p.setBrush(glint);
    p.drawEllipse(glintAt, 0.42 * r, 0.42 * r);

    if (state == LampState::Defective)
        DrawDefectMark(c, mid, r);
}

// The dark housing of a signal head, with its outline.
void DrawHousing(Canvas &c, qreal x, qreal y, qreal w, qreal h)
{
    const QRectF rect = c.box(x, y, w, h);
    c.fillOutlined(RoundedBox(rect, c.len(1.6)), c.vertical(y, y + h, Palette::HousingLight, Palette::HousingDark),
                   Palette::Ink);
}

// A three-aspect signal head, all lenses lit but without glow: the picture of "a traffic light".
void DrawSignalHead(Canvas &c, qreal x, qreal y, qreal w, qreal h)
{
    DrawHousing(c, x, y, w, h);
    const qreal pitch = h / 3.0;
    const qreal radius = std::min(w, pitch) / 2.0 - 1.25;
    const LensColour *lenses[] = {&RedLens, &AmberLens, &GreenLens};
    for (int i = 0; i < 3; ++i)
        DrawLens(c, QPointF(x + w / 2, y + pitch * (i + 0.5)), radius, *lenses[i], LampState::On, false);
}

// An open-ended spanner with its jaw at (x, y), the handle turned by the angle.
void DrawWrench(Canvas &c, qreal x, qreal y, qreal length, qreal angleDegrees)
{
    const qreal headRadius = 2.4;
    const qreal handle = 1.9;
    QPainterPath shaft;
    shaft.addRoundedRect(QRectF(c.pt(0, -handle / 2), c.pt(length, handle / 2)), c.len(0.9), c.len(0.9));
    QPainterPath jaw;
    jaw.addRoundedRect(QRectF(c.pt(-headRadius - 1, -0.85), c.pt(0, 0.85)), c.len(0.5), c.len(0.5));
    const QPainterPath wrench = Circle(c.pt(0, 0), c.len(headRadius)).united(shaft).subtracted(jaw);

    QTransform place;
    place.translate(c.len(x), c.len(y));
    place.rotate(angleDegrees);
    QLinearGradient steel(place.map(c.pt(0, -handle)), place.map(c.pt(0, handle)));
    steel.setColorAt(0, Palette::SteelLight);
    steel.setColorAt(1, Palette::SteelDark);
    c.fillOutlined(place.map(wrench), steel, Palette::Ink);
}

// A toothed gear centred at (x, y).
QPainterPath Gear(const Canvas &c, qreal x, qreal y, qreal outer, qreal inner, qreal hole, int teeth)
{
    QPainterPath gear = Circle(c.pt(x, y), c.len(inner));
    for (int i = 0; i < teeth; ++i) {
        QTransform turn;
        turn.translate(c.len(x), c.len(y));
        turn.rotate(360.0 * i / teeth);
        QPolygonF tooth;
        tooth << c.pt(-1.15, -inner + 0.5) << c.pt(-0.8, -outer) << c.pt(0.8, -outer) << c.pt(1.15, -inner + 0.5);
        QPainterPath toothPath;
        toothPath.addPolygon(turn.map(tooth));
        toothPath.closeSubpath();
        gear = gear.united(toothPath);
    }
    return gear.subtracted(Circle(c.pt(x, y), c.len(hole)));
}

// A sheet of paper with text lines.
void DrawSheet(Canvas &c, qreal x, qreal y, qreal w, qreal h, int lines)
{
    c.fillOutlined(RoundedBox(c.box(x, y, w, h), c.len(0.5)), c.vertical(y, y + h, Palette::Paper, QColor(0xe4, 0xe9, 0xee)),
                   Palette::GreyDark);
    QPainter &p = c.painter();
    p.setPen(QPen(Palette::PaperLine, c.stroke()));
    const qreal step = (h - 2.5) / lines;
    for (int i = 0; i < lines; ++i) {
        const qreal ly = c.snap(y + 2.0 + i * step);
        const qreal right = x + w - (i % 3 == 2 ? 4.0 : 1.6);
        p.drawLine(QPointF(c.len(x + 1.6), ly), QPointF(c.len(right), ly));
    }
}

// A round badge with a white cross.
void DrawCrossBadge(Canvas &c, qreal x, qreal y, qreal radius)
{
    QRadialGradient fill(c.pt(x - radius / 3, y - radius / 3), c.len(radius * 1.3));
    fill.setColorAt(0, Palette::RedLight);
    fill.setColorAt(1, Palette::Red);
    c.fillOutlined(Circle(c.pt(x, y), c.len(radius)), fill, Palette::RedDark);
    const qreal arm = radius * 0.45;
    QPainter &p = c.painter();
    p.setPen(c.line(Qt::white, radius * 0.32));
    p.drawLine(c.pt(x - arm, y - arm), c.pt(x + arm, y + arm));
    p.drawLine(c.pt(x + arm, y - arm), c.pt(x - arm, y + arm));
}

// A plug on a cable and the socket it goes into, seen from the side: pushed home when connected,
// pulled out (prongs showing) when not. Only a connected plug is coloured.
void DrawPlug(Canvas &c, bool connected)
{
    const qreal gap = connected ? 0.0 : 1.6;
    QPainter &p = c.painter();

    p.setPen(QPen(Palette::GreyDark, c.len(2.0), Qt::SolidLine, Qt::FlatCap));
    p.drawLine(QPointF(0, c.len(8)), c.pt(4, 8));
    p.drawLine(c.pt(12, 8), QPointF(c.len(16), c.len(8)));

    // Prongs, hidden in the socket when the plug is home.
    const qreal plugRight = 7.5 - gap;
    p.setPen(Qt::NoPen);
    p.setBrush(c.vertical(5, 11, Palette::SteelLight, Palette::SteelDark));
    p.drawRect(c.area(plugRight, 5.5, 2.5, 1.5));
    p.drawRect(c.area(plugRight, 9.0, 2.5, 1.5));

    const QLinearGradient plugFill = connected ? c.vertical(4.5, 11.5, Palette::GreenLight, Palette::Green)
                                               : c.vertical(4.5, 11.5, Palette::GlassOff, Palette::Grey);
    c.fillOutlined(RoundedBox(c.box(2.5 - gap, 4.5, plugRight - 2.5 + gap, 7), c.len(1.4)), plugFill,
                   connected ? Palette::GreenDark : Palette::GreyDark);
    p.setPen(QPen(connected ? Palette::GreenDark : Palette::GreyDark, c.stroke()));
    p.drawLine(QPointF(c.snap(4.5 - gap), c.len(6.2)), QPointF(c.snap(4.5 - gap), c.len(9.8)));

    const qreal socketLeft = 8.5 + gap;
    c.fillOutlined(RoundedBox(c.box(socketLeft, 3, 14.0 - socketLeft, 10), c.len(0.8)),
                   c.vertical(3, 13, QColor(0x6d, 0x78, 0x85), QColor(0x33, 0x3b, 0x46)), Palette::Ink);
}

// A round lamp bulb with its screw base, lit (warm glass and rays) or unlit (grey glass).
void DrawBulb(Canvas &c, bool lit)
{
    QPainter &p = c.painter();
    const QPointF centre = c.pt(8, 6.3);
    if (lit) {
        QRadialGradient halo(centre, c.len(7.5));
        halo.setColorAt(0.45, QColor(0xff, 0xd8, 0x3a, 150));
        halo.setColorAt(1.0, QColor(0xff, 0xd8, 0x3a, 0));
        p.setPen(Qt::NoPen);
        p.setBrush(halo);
        p.drawEllipse(centre, c.len(7.5), c.len(7.5));
    }

    QPainterPath glass = Circle(centre, c.len(4.6));
    QPolygonF neck;
    neck << c.pt(5.2, 9.0) << c.pt(10.8, 9.0) << c.pt(10.0, 11.2) << c.pt(6.0, 11.2);
    QPainterPath neckPath;
    neckPath.addPolygon(neck);
    glass = glass.united(neckPath);
    QRadialGradient fill(c.pt(6.6, 4.6), c.len(6.5));
    fill.setColorAt(0, lit ? QColor(0xff, 0xff, 0xe8) : Palette::Paper);
    fill.setColorAt(0.4, lit ? Palette::Glass : Palette::GlassOff);
    fill.setColorAt(1, lit ? Palette::GlassDeep : Palette::GlassOffDeep);
    c.fillOutlined(glass, fill, lit ? Palette::WarnDark : Palette::GreyDark);

    // Filament.
    p.setPen(QPen(lit ? QColor(0xd0, 0x6a, 0x00) : Palette::GreyDark, c.stroke(), Qt::SolidLine, Qt::RoundCap));
    p.setBrush(Qt::NoBrush);
    QPainterPath filament;
    filament.moveTo(c.pt(6.8, 9.6));
    filament.lineTo(c.pt(6.8, 6.8));
    filament.lineTo(c.pt(7.6, 5.8));
    filament.lineTo(c.pt(8.4, 6.8));
    filament.lineTo(c.pt(9.2, 5.8));
    filament.lineTo(c.pt(9.2, 9.6));
    p.drawPath(filament);

    // Screw base.
    c.fillOutlined(RoundedBox(c.box(6, 11, 4, 3), c.len(0.4)), c.vertical(11, 14, Palette::SteelLight, Palette::SteelDark),
                   Palette::GreyDark);
    p.setPen(QPen(Palette::GreyDark, c.stroke()));
    p.drawLine(QPointF(c.len(6), c.snap(12.5)), QPointF(c.len(10), c.snap(12.5)));
    p.setPen(Qt::NoPen);
    p.setBrush(Palette::GreyDark);
    p.drawRect(c.area(7, 14, 2, 1));
}

// A clockwise arc arrow on the circle of radius 6.2 around the middle of the grid; the head
// continues the arc beyond its end.
void DrawTurningArrow(Canvas &c, qreal startDegrees, qreal spanDegrees)
{
    const QRectF orbit(c.pt(1.8, 1.8), c.pt(14.2, 14.2));
    QPainterPath arc;
    arc.arcMoveTo(orbit, startDegrees);
    arc.arcTo(orbit, startDegrees, spanDegrees);

    const qreal end = (startDegrees + spanDegrees) * M_PI / 180.0;
    const QPointF radial(std::cos(end), -std::sin(end));
    const QPointF tangent(std::sin(end), std::cos(end)); // clockwise on screen
    const QPointF back = orbit.center() + radial * (orbit.width() / 2);
    QPolygonF head;
    head << back + tangent * c.len(3.0) << back + radial * c.len(2.1) << back - radial * c.len(2.1);
    QPainterPathStroker stroker;
    stroker.setWidth(c.len(1.5));
    stroker.setCapStyle(Qt::FlatCap);
    QPainterPath arrow = stroker.createStroke(arc);
    QPainterPath headPath;
    headPath.addPolygon(head);
    headPath.closeSubpath();
    arrow = arrow.united(headPath).simplified();
    c.fillOutlined(arrow, Palette::Blue, Palette::BlueDark);
}

// Two amber flashers inside a pair of turning arrows: the flashers' cycles are brought in step.
void DrawFlasherSync(Canvas &c)
{
    DrawLens(c, QPointF(5.3, 8), 2.1, AmberLens, LampState::On, false);
    DrawLens(c, QPointF(10.7, 8), 2.1, AmberLens, LampState::On, false);
    DrawTurningArrow(c, 160, -120);
    DrawTurningArrow(c, -20, -120);
}

// A chip with pins and an arrow coming down into it.
void DrawFirmwareUpload(Canvas &c)
{
    QPainter &p = c.painter();
    p.setPen(Qt::NoPen);
    p.setBrush(Palette::SteelDark);
    for (int i = 0; i < 3; ++i) {
        p.drawRect(c.area(1.5, 8.5 + i * 2.2, 2, 1));
        p.drawRect(c.area(12.5, 8.5 + i * 2.2, 2, 1));
    }
    c.fillOutlined(RoundedBox(c.box(3.5, 7, 9, 8), c.len(0.8)), c.vertical(7, 15, QColor(0x4f, 0x5a, 0x68), QColor(0x22, 0x28, 0x30)),
                   Palette::Ink);
    p.setPen(Qt::NoPen);
    p.setBrush(Palette::Grey);
    p.drawEllipse(c.pt(5.4, 13.2), c.len(0.6), c.len(0.6));

    c.fillOutlined(ArrowDown(c, 0.5, 10.4, 8, 2.8, 7.4, 4.0), c.vertical(0.5, 10.4, Palette::BlueLight, Palette::Blue),
                   Palette::BlueDark);
}

// A warning triangle with an exclamation mark.
void DrawWarning(Canvas &c)
{
    QPainterPath triangle;
    triangle.moveTo(c.pt(8, 1.2));
    triangle.lineTo(c.pt(15.0, 14.4));
    triangle.lineTo(c.pt(1.0, 14.4));
    triangle.closeSubpath();
    QPainter &p = c.painter();
    p.setPen(QPen(Palette::WarnDark, c.len(1.4), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(Qt::NoBrush);
    p.drawPath(triangle);
    p.setPen(QPen(Palette::Warn, c.len(1.4) - 2 * c.stroke(), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(c.vertical(1.2, 14.4, Palette::WarnLight, Palette::Warn));
    p.drawPath(triangle);

    p.setPen(Qt::NoPen);
    p.setBrush(Palette::Ink);
    QPolygonF bar;
    bar << c.pt(7.0, 5.0) << c.pt(9.0, 5.0) << c.pt(8.55, 10.4) << c.pt(7.45, 10.4);
    QPainterPath barPath;
    barPath.addPolygon(bar);
    barPath.closeSubpath();
    p.drawPath(barPath);
    p.drawEllipse(c.pt(8, 12.3), c.len(0.95), c.len(0.95));
}

// ---- the icons -------------------------------------------------------------------------------

void DrawLamp(Canvas &c, const LensColour &colour, LampState state)
{
    DrawHousing(c, 2.5, 0.5, 11, 15);
    DrawLens(c, QPointF(8, 8), 4.2, colour, state);
}

void DrawRedYellowLamp(Canvas &c, LampState state)
{
    DrawHousing(c, 2.5, 0.5, 11, 15);
    DrawLens(c, QPointF(8, 4.4), 2.75, RedLens, state);
    DrawLens(c, QPointF(8, 11.6), 2.75, AmberLens, state);
}

void DrawDisconnectAction(Canvas &c)
{
    DrawPlug(c, false);
    DrawCrossBadge(c, 12.2, 12.2, 3.3);
}

// A line unit entering (rx, green) or leaving (tx, orange) the station, drawn as the bar on
// the left.
void DrawDirection(Canvas &c, bool incoming)
{
    QPainter &p = c.painter();
    p.setPen(Qt::NoPen);
    p.setBrush(Palette::GreyDark);
    p.drawRect(c.area(1, 2, 2, 12));
    if (incoming)
        c.fillOutlined(Arrow(c, 15, 4, 8, 3.0, 8.0, 4.5), c.vertical(4, 12, Palette::GreenLight, Palette::Green),
                       Palette::GreenDark);
    else
        c.fillOutlined(Arrow(c, 4, 15, 8, 3.0, 8.0, 4.5), c.vertical(4, 12, Palette::OrangeLight, Palette::Orange),
                       Palette::OrangeDark);
}

void DrawInterface(Canvas &c)
{
    // The nine-pin serial connector, seen from the front.
    QPainterPath shell;
    shell.moveTo(c.pt(0.8, 4));
    shell.lineTo(c.pt(15.2, 4));
    shell.lineTo(c.pt(13.2, 12));
    shell.lineTo(c.pt(2.8, 12));
    shell.closeSubpath();
    c.fillOutlined(shell, c.vertical(4, 12, Palette::SteelLight, Palette::SteelDark), Palette::GreyDark);
    QPainterPath face;
    face.moveTo(c.pt(2.6, 5.6));
    face.lineTo(c.pt(13.4, 5.6));
    face.lineTo(c.pt(12.0, 10.6));
    face.lineTo(c.pt(4.0, 10.6));
    face.closeSubpath();
    QPainter &p = c.painter();
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(0x2b, 0x33, 0x3d));
    p.drawPath(face);
    p.setBrush(QColor(0xf2, 0xc1, 0x4e));
    for (int i = 0; i < 5; ++i)
        p.drawEllipse(c.pt(4.4 + i * 1.8, 7.0), c.len(0.55), c.len(0.55));
    for (int i = 0; i < 4; ++i)
        p.drawEllipse(c.pt(5.3 + i * 1.8, 9.2), c.len(0.55), c.len(0.55));
}

void DrawTracing(Canvas &c)
{
    // A monitor screen showing the square wave of a serial line.
    c.fillOutlined(RoundedBox(c.box(0.5, 1.5, 15, 13), c.len(1.0)), c.vertical(1.5, 14.5, Palette::SteelLight, Palette::SteelDark),
                   Palette::GreyDark);
    QPainter &p = c.painter();
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(0x1b, 0x22, 0x2a));
    p.drawRect(c.area(2, 3, 12, 10));
    QPainterPath wave;
    wave.moveTo(QPointF(c.len(2), c.snap(10.5)));
    const qreal xs[] = {4, 6, 8, 9.5, 11.5};
    bool high = false;
    for (const qreal x : xs) {
        wave.lineTo(QPointF(c.snap(x), c.snap(high ? 5.5 : 10.5)));
        high = !high;
        wave.lineTo(QPointF(c.snap(x), c.snap(high ? 5.5 : 10.5)));
    }
    wave.lineTo(QPointF(c.len(14), c.snap(high ? 5.5 : 10.5)));
    p.setBrush(Qt::NoBrush);
    p.setPen(QPen(QColor(0x4c, 0xe8, 0x84), c.stroke(), Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin));
    p.drawPath(wave);
}

void DrawTarget(Canvas &c) { DrawSignalHead(c, 4.5, 0.5, 7, 15); }

void DrawFindDevice(Canvas &c)
{
    // A signal head, and a magnifying glass looking for it.
    DrawSignalHead(c, 1.0, 0.5, 6.5, 13.5);
    const QPointF centre(10.0, 7.0);
    const qreal radius = 3.6;
    QPainterPath handle;
    handle.addRoundedRect(QRectF(c.pt(-0.9, 0), c.pt(0.9, 5.2)), c.len(0.8), c.len(0.8));
    QTransform place;
    place.translate(c.len(centre.x()), c.len(centre.y()));
    place.rotate(-40);
    place.translate(0, c.len(radius - 0.3));
    c.fillOutlined(place.map(handle), c.vertical(9, 15.5, Palette::Wood, Palette::WoodDark), Palette::Ink);
    QRadialGradient glass(c.pt(centre.x() - 1.2, centre.y() - 1.2), c.len(radius * 1.6));
    glass.setColorAt(0, QColor(0xff, 0xff, 0xff, 0xd8));
    glass.setColorAt(1, QColor(0xb9, 0xdc, 0xfb, 0xa0));
    c.fillOutlined(Circle(c.pt(centre.x(), centre.y()), c.len(radius)), glass, Palette::BlueDark);
    QPainter &p = c.painter();
    p.setPen(c.line(Palette::SteelDark, 0.9));
    p.setBrush(Qt::NoBrush);
    p.drawEllipse(c.pt(centre.x(), centre.y()), c.len(radius - 0.6), c.len(radius - 0.6));
}

void DrawBehaviour(Canvas &c)
{
    // Two slide switches.
    QPainter &p = c.painter();
    const qreal rows[] = {4.5, 11.5};
    const qreal knobs[] = {10.5, 5.5};
    for (int i = 0; i < 2; ++i) {
        p.setPen(QPen(Palette::GreyDark, c.len(1.6), Qt::SolidLine, Qt::RoundCap));
        p.drawLine(c.pt(2, rows[i]), c.pt(14, rows[i]));
        p.setPen(QPen(Palette::Blue, c.len(1.6), Qt::SolidLine, Qt::RoundCap));
        p.drawLine(c.pt(2, rows[i]), c.pt(knobs[i], rows[i]));
        QRadialGradient knob(c.pt(knobs[i] - 0.8, rows[i] - 0.8), c.len(3.2));
        knob.setColorAt(0, Palette::Paper);
        knob.setColorAt(1, Palette::SteelDark);
        c.fillOutlined(Circle(c.pt(knobs[i], rows[i]), c.len(2.4)), knob, Palette::GreyDark);
    }
}

void DrawApplication(Canvas &c)
{
    DrawWrench(c, 12.9, 4.4, 9.6, 128);
    DrawSignalHead(c, 2.0, 0.5, 7, 15);
}

void DrawExit(Canvas &c)
{
    // An open door with an arrow leading out.
    QPainter &p = c.painter();
    p.setPen(c.outline(Palette::GreyDark));
    p.setBrush(QColor(0x33, 0x3b, 0x46));
    p.drawRect(c.box(1.5, 1, 8, 14));
    QPolygonF door;
    door << QPointF(c.snap(1.5), c.snap(1)) << c.pt(6.5, 2.5) << c.pt(6.5, 16) << QPointF(c.snap(1.5), c.snap(15));
    QPainterPath doorPath;
    doorPath.addPolygon(door);
    doorPath.closeSubpath();
    QLinearGradient wood(c.pt(1.5, 0), c.pt(6.5, 0));
    wood.setColorAt(0, Palette::Wood);
    wood.setColorAt(1, Palette::WoodDark);
    c.fillOutlined(doorPath, wood, Palette::WoodDark.darker(140));
    p.setPen(Qt::NoPen);
    p.setBrush(Palette::SteelLight);
    p.drawEllipse(c.pt(5.4, 9), c.len(0.55), c.len(0.55));
    c.fillOutlined(Arrow(c, 7.5, 15.5, 8, 2.8, 7.2, 4.0), c.vertical(4, 12, Palette::RedLight, Palette::Red), Palette::RedDark);
}

void DrawSettings(Canvas &c)
{
    QRadialGradient steel(c.pt(6, 5), c.len(9));
    steel.setColorAt(0, Palette::SteelLight);
    steel.setColorAt(1, Palette::SteelDark);
    c.fillOutlined(Gear(c, 8, 8, 7.3, 5.4, 2.2, 8), steel, Palette::GreyDark);
}

void DrawInfo(Canvas &c)
{
    QRadialGradient fill(c.pt(6, 4.5), c.len(10));
    fill.setColorAt(0, Palette::BlueLight);
    fill.setColorAt(1, Palette::Blue);
    c.fillOutlined(Circle(c.pt(8, 8), c.len(7.2)), fill, Palette::BlueDark);
    QPainter &p = c.painter();
    p.setPen(Qt::NoPen);
    p.setBrush(Qt::white);
    p.drawEllipse(c.pt(8, 4.5), c.len(1.15), c.len(1.15));
    p.drawRoundedRect(QRectF(c.pt(7.05, 6.7), c.pt(8.95, 12.4)), c.len(0.5), c.len(0.5));
}

void DrawClear(Canvas &c)
{
    DrawSheet(c, 1.5, 0.5, 10, 14, 6);
    DrawCrossBadge(c, 11.8, 11.6, 3.6);
}

void DrawOsi2Address(Canvas &c)
{
    // An address tag with the layer's number on it.
    QPainterPath tag;
    tag.moveTo(c.pt(0.8, 8));
    tag.lineTo(c.pt(5, 3));
    tag.lineTo(c.pt(15.2, 3));
    tag.lineTo(c.pt(15.2, 13));
    tag.lineTo(c.pt(5, 13));
    tag.closeSubpath();
    tag = tag.subtracted(Circle(c.pt(4.4, 8), c.len(1.0)));
    c.fillOutlined(tag, c.vertical(3, 13, Palette::BlueLight, Palette::Blue), Palette::BlueDark);

    QFont font("DejaVu Sans");
    font.setBold(true);
    font.setPixelSize(qRound(c.len(9)));
    QPainterPath digit;
    digit.addText(0, 0, font, QStringLiteral("2"));
    const QRectF bounds = digit.boundingRect();
    digit.translate(c.pt(10.2, 8) - bounds.center());
    QPainter &p = c.painter();
    p.setPen(Qt::NoPen);
    p.setBrush(Qt::white);
    p.drawPath(digit);
}

void DrawLogo(Canvas &c)
{
    // The application's emblem, larger and on a round plate.
    QRadialGradient plate(c.pt(6, 5), c.len(11));
    plate.setColorAt(0, QColor(0xe9, 0xf2, 0xfb));
    plate.setColorAt(1, QColor(0xa9, 0xc6, 0xe4));
    c.fillOutlined(Circle(c.pt(8, 8), c.len(7.6)), plate, Palette::BlueDark);
    DrawWrench(c, 12.4, 5.8, 7.0, 128);
    DrawSignalHead(c, 4.3, 2.4, 5.0, 11.2);
}

// ---- the catalogue ---------------------------------------------------------------------------

struct Icon
{
    QString folder; // size folder, e.g. "16x16" or "hicolor/128x128/apps", or "" for the logo
    QString name;
    int width;
    int height;
    std::function<void(Canvas &)> draw;
};

std::vector<Icon> Catalogue()
{
    using S = LampState;
    std::vector<Icon> icons = {
        {"16x16", "connected", 16, 16, [](Canvas &c) { DrawPlug(c, true); }},
        {"16x16", "disconnected", 16, 16, [](Canvas &c) { DrawPlug(c, false); }},
        {"16x16", "receive", 16, 16, [](Canvas &c) { DrawDirection(c, true); }},
        {"16x16", "transmit", 16, 16, [](Canvas &c) { DrawDirection(c, false); }},
        {"16x16", "bulb", 16, 16, [](Canvas &c) { DrawBulb(c, true); }},
        {"16x16", "bulb-off", 16, 16, [](Canvas &c) { DrawBulb(c, false); }},
        {"16x16", "interface", 16, 16, DrawInterface},
        {"16x16", "traceing", 16, 16, DrawTracing},
        {"16x16", "target", 16, 16, DrawTarget},
        {"16x16", "behaviour", 16, 16, DrawBehaviour},
        {"16x16", "fwupload", 16, 16, DrawFirmwareUpload},
        {"24x24", "application", 24, 24, DrawApplication},
        {"24x24", "exit", 24, 24, DrawExit},
        {"24x24", "settings", 24, 24, DrawSettings},
        {"24x24", "info", 24, 24, DrawInfo},
        {"24x24", "connect", 24, 24, [](Canvas &c) { DrawPlug(c, true); }},
        {"24x24", "clear", 24, 24, DrawClear},
        {"24x24", "disconnect", 24, 24, DrawDisconnectAction},
        {"24x24", "target", 24, 24, DrawTarget},
        {"24x24", "fsync", 24, 24, DrawFlasherSync},
        {"24x24", "osi2addr", 24, 24, DrawOsi2Address},
        {"24x24", "fwupload", 24, 24, DrawFirmwareUpload},
        {"24x24", "finddevice", 24, 24, DrawFindDevice},
        {"32x32", "dlg-warning", 32, 32, DrawWarning},
        {"32x32", "fsync", 32, 32, DrawFlasherSync},
    };
    const struct
    {
        const char *prefix;
        const LensColour *colour;
    } lamps[] = {{"red", &RedLens}, {"yel", &AmberLens}, {"grn", &GreenLens}};
    const struct
    {
        const char *suffix;
        LampState state;
    } states[] = {{"off", S::Off}, {"on", S::On}, {"defective", S::Defective}};
    for (const auto &lamp : lamps)
        for (const auto &state : states) {
            const LensColour *colour = lamp.colour;
            const LampState s = state.state;
            icons.push_back({"32x32", QStringLiteral("%1-%2").arg(lamp.prefix, state.suffix), 32, 32,
                             [colour, s](Canvas &c) { DrawLamp(c, *colour, s); }});
        }
    for (const auto &state : states) {
        const LampState s = state.state;
        icons.push_back({"32x32", QStringLiteral("yel-red-%1").arg(state.suffix), 32, 32,
                         [s](Canvas &c) { DrawRedYellowLamp(c, s); }});
    }
    icons.push_back({"", "logo", 96, 96, DrawLogo});
    // The desktop's icon theme: the application's emblem at the sizes drawn above and a large one
    // for software centres.
    for (const int size : {16, 24, 32, 128})
        icons.push_back({QStringLiteral("hicolor/%1x%1/apps").arg(size), "lichtwart", size, size, DrawApplication});
    return icons;
}

QImage Render(const Icon &icon)
{
    QImage image(icon.width, icon.height, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    Canvas canvas(image);
    icon.draw(canvas);
    return image;
}

QString RelativePath(const Icon &icon)
{
    return icon.folder.isEmpty() ? icon.name + ".png" : icon.folder + '/' + icon.name + ".png";
}

// Every icon at its own size on a light and on a dark ground, and enlarged four times without
// smoothing, so that blurred edges and uneven strokes show.
QImage ContactSheet(const std::vector<Icon> &icons)
{
    const int cellWidth = 4 * 96 / 2 + 40;
    const int cellHeight = 4 * 32 + 60;
    const int columns = 6;
    const int rows = (int(icons.size()) + columns - 1) / columns;
    QImage sheet(columns * cellWidth, rows * cellHeight + 96 * 2 + 40, QImage::Format_ARGB32_Premultiplied);
    sheet.fill(QColor(0xee, 0xf0, 0xf3));
    QPainter p(&sheet);
    p.setRenderHint(QPainter::TextAntialiasing);
    QFont font("DejaVu Sans");
    font.setPixelSize(12);
    p.setFont(font);

    for (size_t i = 0; i < icons.size(); ++i) {
        const Icon &icon = icons[i];
        const QImage image = Render(icon);
        const bool isLogo = icon.folder.isEmpty();
        const QPoint origin = isLogo ? QPoint(10, rows * cellHeight + 10)
                                     : QPoint(int(i % columns) * cellWidth + 10, int(i / columns) * cellHeight + 10);
        p.setPen(QColor(0x30, 0x36, 0x3d));
        p.drawText(origin + QPoint(0, 12), RelativePath(icon));
        p.drawImage(origin + QPoint(0, 22), image);
        p.fillRect(QRect(origin + QPoint(0, 30 + icon.height), image.size()), QColor(0x2b, 0x30, 0x36));
        p.drawImage(origin + QPoint(0, 30 + icon.height), image);
        const int zoom = isLogo ? 2 : 4;
        const QImage large = image.scaled(image.size() * zoom, Qt::IgnoreAspectRatio, Qt::FastTransformation);
        const QPoint largeAt = origin + QPoint(icon.width + 10, 22);
        p.fillRect(QRect(largeAt, large.size()), Qt::white);
        p.drawImage(largeAt, large);
        if (isLogo) {
            p.fillRect(QRect(largeAt + QPoint(large.width() + 10, 0), large.size()), QColor(0x2b, 0x30, 0x36));
            p.drawImage(largeAt + QPoint(large.width() + 10, 0), large);
        }
    }
    return sheet;
}

} // namespace

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    QTextStream err(stderr);
    const QStringList args = app.arguments();
    if (args.size() < 2 || args.size() > 3) {
        err << "Usage: lichtwart-icon-painter <resources folder> [contact sheet.png]\n";
        return 2;
    }

    const QDir resources(args.at(1));
    const std::vector<Icon> icons = Catalogue();
    for (const Icon &icon : icons) {
        const QString path = resources.filePath(RelativePath(icon));
        if (!icon.folder.isEmpty() && !resources.mkpath(icon.folder)) {
            err << "Cannot create the folder " << resources.filePath(icon.folder) << '\n';
            return 1;
        }
        if (!Render(icon).save(path, "PNG")) {
            err << "Cannot write " << path << '\n';
            return 1;
        }
    }
    if (args.size() == 3 && !ContactSheet(icons).save(args.at(2), "PNG")) {
        err << "Cannot write the contact sheet " << args.at(2) << '\n';
        return 1;
    }
    return 0;
}

// Paints the workbench's own icons at build time, so that no icon of another
// program ends up in the resources. Usage: zirk_iconpainter OUTDIR NAME...
#include <QColor>
#include <QDir>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>
#include <QString>
#include <cstdio>
#include <functional>
#include <map>

namespace {

using Painter = std::function<void(QPainter &)>;

void page(QPainter &p, const QColor &fill = QColor(250, 250, 250))
{
    QPainterPath path;
    path.moveTo(3, 1.5);
    path.lineTo(10, 1.5);
    path.lineTo(13, 4.5);
    path.lineTo(13, 14.5);
    path.lineTo(3, 14.5);
    path.closeSubpath();
    p.setPen(QPen(QColor(120, 120, 120), 1));
    p.setBrush(fill);
    p.drawPath(path);
    p.drawLine(QPointF(10, 1.5), QPointF(10, 4.5));
    p.drawLine(QPointF(10, 4.5), QPointF(13, 4.5));
}

void disk(QPainter &p, qreal x, qreal y)
{
    p.setPen(QPen(QColor(30, 60, 120), 1));
    p.setBrush(QColor(70, 110, 190));
    p.drawRect(QRectF(x, y, 7, 7));
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(235, 235, 235));
    p.drawRect(QRectF(x + 1.5, y + 0.5, 4, 2.5));
    p.setBrush(QColor(40, 40, 40));
    p.drawRect(QRectF(x + 2, y + 4.5, 3, 2.5));
}

void plus(QPainter &p, qreal x, qreal y)
{
    p.setPen(QPen(QColor(20, 110, 20), 1));
    p.setBrush(QColor(80, 190, 60));
    p.drawEllipse(QRectF(x, y, 7, 7));
    p.setPen(QPen(Qt::white, 1.5));
    p.drawLine(QPointF(x + 3.5, y + 1.5), QPointF(x + 3.5, y + 5.5));
    p.drawLine(QPointF(x + 1.5, y + 3.5), QPointF(x + 5.5, y + 3.5));
}

void sphere(QPainter &p, const QRectF &r, const QColor &c)
{
    QRadialGradient g(r.left() + r.width() * 0.35, r.top() + r.height() * 0.3, r.width() * 0.7);
    g.setColorAt(0, c.lighter(190));
    g.setColorAt(0.5, c);
    g.setColorAt(1, c.darker(220));
    p.setPen(QPen(c.darker(250), 0.6));
    p.setBrush(g);
    p.drawEllipse(r);
}

void box(QPainter &p, const QColor &c)
{
    p.setPen(QPen(c.darker(200), 1));
    p.setBrush(c.lighter(120));
    QPolygonF top({ QPointF(1.5, 5), QPointF(8, 2), QPointF(14.5, 5), QPointF(8, 8) });
    p.drawPolygon(top);
    p.setBrush(c);
    p.drawPolygon(
        QPolygonF({ QPointF(1.5, 5), QPointF(8, 8), QPointF(8, 14.5), QPointF(1.5, 11.5) }));
    p.setBrush(c.darker(130));
    p.drawPolygon(
        QPolygonF({ QPointF(8, 8), QPointF(14.5, 5), QPointF(14.5, 11.5), QPointF(8, 14.5) }));
}

void magnifier(QPainter &p, qreal x, qreal y)
{
    p.setPen(QPen(QColor(90, 60, 20), 2.2, Qt::SolidLine, Qt::RoundCap));
    p.drawLine(QPointF(x + 5, y + 5), QPointF(x + 8, y + 8));
    p.setPen(QPen(QColor(60, 60, 60), 1.2));
    p.setBrush(QColor(190, 225, 255, 220));
    p.drawEllipse(QRectF(x, y, 6, 6));
}

void checker(QPainter &p, const QRectF &r, int cells, const QColor &a, const QColor &b)
{
    const qreal w = r.width() / cells, h = r.height() / cells;
    p.setPen(Qt::NoPen);
    for (int i = 0; i < cells; ++i)
        for (int j = 0; j < cells; ++j) {
            p.setBrush(((i + j) & 1) ? a : b);
            p.drawRect(QRectF(r.left() + i * w, r.top() + j * h, w, h));
        }
    p.setPen(QPen(QColor(60, 60, 60), 0.8));
    p.setBrush(Qt::NoBrush);
    p.drawRect(r);
}

void appIcon(QPainter &p)
{
    QLinearGradient g(0, 0, 16, 16);
    g.setColorAt(0, QColor(255, 170, 40));
    g.setColorAt(1, QColor(200, 70, 10));
    p.setPen(QPen(QColor(120, 40, 0), 0.8));
    p.setBrush(g);
    p.drawRoundedRect(QRectF(1, 1, 14, 14), 3, 3);
    // A "Z" traced as a single stroke.
    p.setPen(QPen(Qt::white, 2.2, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
    p.drawPolyline(QPolygonF(
        { QPointF(4.5, 4.5), QPointF(11.5, 4.5), QPointF(4.5, 11.5), QPointF(11.5, 11.5) }));
}

const std::map<QString, Painter> &painters()
{
    static const std::map<QString, Painter> table = {
        { "blank", [](QPainter &) {} },
        { "empty", [](QPainter &p) { page(p); } },
        { "application_output",
          [](QPainter &p) {
              p.setPen(QPen(QColor(70, 70, 70), 1));
              p.setBrush(QColor(20, 20, 20));
              p.drawRect(QRectF(1.5, 2.5, 13, 11));
              p.setPen(Qt::NoPen);
              p.setBrush(QColor(90, 130, 200));
              p.drawRect(QRectF(2, 3, 12, 2));
              p.setPen(QPen(QColor(192, 192, 192), 1));
              p.drawLine(QPointF(3, 7.5), QPointF(10, 7.5));
              p.drawLine(QPointF(3, 9.5), QPointF(12, 9.5));
              p.drawLine(QPointF(3, 11.5), QPointF(7, 11.5));
          } },
        { "cube_wireframe",
          [](QPainter &p) {
              p.setPen(QPen(QColor(40, 80, 160), 1));
              p.setBrush(Qt::NoBrush);
              p.drawRect(QRectF(2.5, 5.5, 8, 8));
              p.drawRect(QRectF(5.5, 2.5, 8, 8));
              p.drawLine(QPointF(2.5, 5.5), QPointF(5.5, 2.5));
              p.drawLine(QPointF(10.5, 5.5), QPointF(13.5, 2.5));
              p.drawLine(QPointF(2.5, 13.5), QPointF(5.5, 10.5));
              p.drawLine(QPointF(10.5, 13.5), QPointF(13.5, 10.5));
          } },
        { "defrag",
          [](QPainter &p) {
              const QColor colors[]
                  = { QColor(60, 120, 220), QColor(230, 60, 50), QColor(250, 250, 250) };
              p.setPen(QPen(QColor(80, 80, 80), 0.5));
              for (int i = 0; i < 4; ++i)
                  for (int j = 0; j < 4; ++j) {
                      p.setBrush(colors[(i * 4 + j) % 7 < 3 ? 0 : ((i + 2 * j) % 3 ? 2 : 1)]);
                      p.drawRect(QRectF(1.5 + j * 3.3, 1.5 + i * 3.3, 3, 3));
                  }
          } },
        { "icon_vbsp",
          [](QPainter &p) {
              p.setPen(QPen(QColor(110, 80, 40), 1));
              p.setBrush(QColor(150, 110, 60));
              p.drawRect(QRectF(1.5, 12.5, 13, 2));
              p.setPen(QPen(QColor(40, 150, 40), 1.2, Qt::SolidLine, Qt::RoundCap));
              p.drawLine(QPointF(3, 12), QPointF(2, 5));
              p.drawLine(QPointF(5, 12), QPointF(6, 3));
              p.drawLine(QPointF(8, 12), QPointF(8, 2));
              p.drawLine(QPointF(11, 12), QPointF(10, 4));
              p.drawLine(QPointF(13, 12), QPointF(14.5, 6));
          } },
        { "multi_manager_icon_16", appIcon },
        { "multi_manager_icon_48", appIcon },
        { "package_magnify",
          [](QPainter &p) {
              box(p, QColor(200, 150, 80));
              magnifier(p, 7, 7);
          } },
        { "page_white_disk",
          [](QPainter &p) {
              page(p);
              disk(p, 8, 8);
          } },
        { "page_white_disk_add",
          [](QPainter &p) {
              page(p);
              disk(p, 7, 8);
              plus(p, 0, 8);
          } },
        { "particles",
          [](QPainter &p) {
              const QPointF points[] = { { 3, 12 }, { 6, 9 },  { 9, 10 }, { 5, 5 },
                                         { 10, 5 }, { 13, 3 }, { 12, 8 }, { 8, 2 } };
              const QColor colors[]
                  = { QColor(255, 200, 40), QColor(255, 120, 30), QColor(230, 60, 30) };
              int i = 0;
              for (const QPointF &pt : points) {
                  const qreal r = 1.0 + (i % 3) * 0.6;
                  p.setPen(Qt::NoPen);
                  p.setBrush(colors[i % 3]);
                  p.drawEllipse(pt, r, r);
                  ++i;
              }
          } },
        { "qtcreator_logo_16",
          [](QPainter &p) {
              p.setPen(QPen(QColor(30, 100, 30), 0.8));
              p.setBrush(QColor(65, 170, 60));
              p.drawRoundedRect(QRectF(1, 1, 14, 14), 4, 4);
              p.setPen(QPen(Qt::white, 1.8));
              p.setBrush(Qt::NoBrush);
              p.drawEllipse(QRectF(4, 4, 7, 7));
              p.drawLine(QPointF(9.5, 9.5), QPointF(12.5, 12.5));
          } },
        { "sphere",
          [](QPainter &p) { sphere(p, QRectF(1.5, 1.5, 13, 13), QColor(60, 120, 220)); } },
        { "spherelockright",
          [](QPainter &p) {
              sphere(p, QRectF(0.5, 1.5, 11, 11), QColor(60, 120, 220));
              p.setPen(QPen(QColor(120, 90, 20), 1.2));
              p.setBrush(Qt::NoBrush);
              p.drawArc(QRectF(10, 6, 4, 5), 0, 180 * 16);
              p.setPen(QPen(QColor(120, 90, 20), 0.8));
              p.setBrush(QColor(240, 190, 50));
              p.drawRect(QRectF(9, 9, 6, 5.5));
          } },
        { "vbspinfo",
          [](QPainter &p) {
              p.setPen(QPen(QColor(90, 90, 90), 1));
              p.setBrush(Qt::white);
              p.drawRect(QRectF(1.5, 2.5, 13, 11));
              p.setPen(Qt::NoPen);
              p.setBrush(QColor(80, 120, 200));
              p.drawRect(QRectF(2, 3, 12, 2.5));
              p.setPen(QPen(QColor(160, 160, 160), 0.8));
              for (qreal y : { 7.5, 9.5, 11.5 })
                  p.drawLine(QPointF(2, y), QPointF(14, y));
              p.drawLine(QPointF(6.5, 5.5), QPointF(6.5, 13));
          } },
        { "ventity",
          [](QPainter &p) {
              page(p);
              p.setPen(Qt::NoPen);
              p.setBrush(QColor(220, 60, 60));
              for (qreal y : { 5.0, 8.5, 12.0 }) {
                  p.drawPolygon(QPolygonF({ QPointF(5, y - 1.5), QPointF(6.5, y),
                                            QPointF(5, y + 1.5), QPointF(3.5, y) }));
              }
              p.setPen(QPen(QColor(90, 90, 90), 0.8));
              for (qreal y : { 5.0, 8.5, 12.0 })
                  p.drawLine(QPointF(8, y), QPointF(12, y));
          } },
        { "vmass",
          [](QPainter &p) {
              for (int i = 2; i >= 0; --i) {
                  p.save();
                  p.translate(i * 1.5 - 1.5, -i * 1.5 + 1.5);
                  p.scale(0.85, 0.85);
                  page(p, QColor(255, 235 - i * 25, 190 - i * 40));
                  p.restore();
              }
              sphere(p, QRectF(8, 8, 7, 7), QColor(230, 120, 30));
          } },
        { "vpakfile",
          [](QPainter &p) {
              box(p, QColor(190, 140, 70));
              p.setPen(QPen(QColor(60, 60, 60), 1, Qt::DotLine));
              p.drawLine(QPointF(8, 8), QPointF(8, 14.5));
          } },
        { "vtfmass2",
          [](QPainter &p) {
              checker(p, QRectF(5.5, 1.5, 9, 9), 3, QColor(200, 60, 200), QColor(40, 40, 40));
              checker(p, QRectF(1.5, 5.5, 9, 9), 3, QColor(80, 160, 230), QColor(250, 250, 250));
          } },
        { "vvmt",
          [](QPainter &p) {
              page(p);
              sphere(p, QRectF(4.5, 5.5, 7, 7), QColor(230, 120, 30));
          } },
        { "vvtf",
          [](QPainter &p) {
              checker(p, QRectF(1.5, 1.5, 13, 13), 4, QColor(200, 60, 200), QColor(30, 30, 30));
          } },
    };
    return table;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s OUTDIR NAME...\n", argv[0]);
        return 2;
    }
    const QDir out(QString::fromLocal8Bit(argv[1]));
    for (int i = 2; i < argc; ++i) {
        const QString name = QString::fromLocal8Bit(argv[i]);
        const auto it = painters().find(name);
        if (it == painters().end()) {
            std::fprintf(stderr, "no painter for icon %s\n", argv[i]);
            return 1;
        }
        const int size = name.endsWith(QLatin1String("_48")) ? 48 : 16;
        QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.scale(size / 16.0, size / 16.0);
        it->second(painter);
        painter.end();
        if (!image.save(out.filePath(name + QLatin1String(".png")), "PNG")) {
            std::fprintf(stderr, "cannot write icon %s\n", argv[i]);
            return 1;
        }
    }
    return 0;
}

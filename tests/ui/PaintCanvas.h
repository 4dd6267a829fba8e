#pragma once

// An off-screen image painted on the toolkit's grid (anti-aliasing off, half-pixel shift), for
// tests of the drawing calls.

#include "ui/LPaintSurface.h"

#include <QApplication>
#include <QCryptographicHash>
#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

// Qt needs its application object before fonts and images; one is made if no other test
// file's environment has made it.
inline void EnsureQtApplication()
{
    if (QCoreApplication::instance() != nullptr)
        return;
    // Headless also when the test program is run by hand.
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    static int argc = 1;
    static char name[] = "ui_tests";
    static char* argv[] = {name, nullptr};
    static QApplication application(argc, argv);
}

inline constexpr QRgb kCanvasBlack = 0xff000000;

class PaintCanvas {
public:
    PaintCanvas(int width, int height, qreal ratio = 1)
        : _image(int(width * ratio), int(height * ratio), QImage::Format_ARGB32_Premultiplied)
    {
        EnsureQtApplication();
        _image.setDevicePixelRatio(ratio);
        _image.fill(kCanvasBlack);
        _painter.begin(&_image);
        _painter.setRenderHint(QPainter::Antialiasing, false);
        _painter.translate(0.5, 0.5);
        data.context = &_painter;
        data.width = float(width);
        data.height = float(height);
        data.font.CreateFont(12, false, false, false, LGuiColorRef::FromRGB(255, 255, 255));
    }

    QPainter& Painter() { return _painter; }

    // Ends painting; the image is final.
    const QImage& Image()
    {
        if (_painter.isActive())
            _painter.end();
        return _image;
    }

    // The pixel at device-independent (x, y) of a ratio-1 canvas, or device pixel otherwise.
    QRgb Pixel(int x, int y) { return Image().pixel(x, y); }
    bool IsSet(int x, int y) { return Pixel(x, y) != kCanvasBlack; }

    PaintData data;

private:
    QImage _image;
    QPainter _painter;
};

// Hex SHA-1 of the pixels, independent of the image's row padding.
inline std::string ImageHash(const QImage& image)
{
    QCryptographicHash hash(QCryptographicHash::Sha1);
    const QImage argb = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < argb.height(); ++y)
        hash.addData(QByteArrayView(reinterpret_cast<const char*>(argb.constScanLine(y)), argb.width() * 4));
    return hash.result().toHex().left(16).toStdString();
}

// Where an image that failed its check is kept for inspection.
inline std::string SaveForInspection(const QImage& image, const std::string& name)
{
    const std::string path = ::testing::TempDir() + "orvane-" + name + ".png";
    image.save(QString::fromStdString(path), "PNG");
    return path;
}

inline int Red(QRgb pixel) { return qRed(pixel); }
inline int Green(QRgb pixel) { return qGreen(pixel); }
inline int Blue(QRgb pixel) { return qBlue(pixel); }

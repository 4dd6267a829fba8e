#pragma once

#include <QImage>

#include <functional>

class QPainter;

// An image and an optional draw size: where both are positive they are the size used, else
// the image's own size (in device-independent pixels). An empty image draws nothing.
class LGuiImage {
public:
    LGuiImage() = default;
    explicit LGuiImage(QImage image) : _image(std::move(image)) {}

    bool IsValid() const { return !_image.isNull(); }
    const QImage& GetImage() const { return _image; }
    void SetImage(QImage image) { _image = std::move(image); }
    void SetDrawSize(int width, int height) { _drawWidth = width; _drawHeight = height; }
    // The size used for drawing, in device-independent pixels.
    int GetWidth() const;
    int GetHeight() const;

    void Draw(QPainter& context, float x, float y) const;
    void Draw(QPainter& context, float x, float y, float width, float height) const;
    // Draws the source rectangle (device-independent pixels of this image) into the target.
    void DrawSubImage(QPainter& context, float x, float y, float width, float height, float srcX,
                      float srcY, float srcWidth, float srcHeight) const;

private:
    QImage _image;
    int _drawWidth = 0;
    int _drawHeight = 0;
};

// An image filled from a numbered image resource.
class LGuiJPG : public LGuiImage {
public:
    // `number` is a decimal number as text. False, and an empty image, when no resource has
    // that number.
    bool LoadFromResource(const char* number);
};

// The numbered image resources. A drawer makes the image at a device pixel ratio; a PNG named
// "<number>.png" in the theme override folder ($XDG_DATA_HOME/Orvane/Theme) replaces it when
// it is a regular file that loads and has the drawn image's size in device-independent pixels;
// else the drawn image is used. At a ratio above 1 a "<number>@2x.png" of twice that size is
// tried first; the PNG used is scaled to the drawn image's pixels where they differ (a 1x PNG
// at ratio 2 is scaled up smoothly).
namespace LImageResources {
using Drawer = std::function<QImage(qreal devicePixelRatio)>;
void Register(int number, Drawer drawer);
bool IsRegistered(int number);
// The image of that number at the ratio; null image when unknown.
QImage Load(int number, qreal devicePixelRatio);
// The ratio LGuiJPG loads at: the application's, unless set (tests set 1 or 2).
qreal GetDevicePixelRatio();
void SetDevicePixelRatio(qreal ratio);  // 0: back to the application's
}  // namespace LImageResources

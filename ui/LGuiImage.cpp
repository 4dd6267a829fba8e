#include "ui/LGuiImage.h"

#include "base/LFile.h"
#include "ui/LPaintSurfaceGrid.h"

#include <QGuiApplication>
#include <QImageReader>
#include <QPainter>

#include <sys/stat.h>

#include <atomic>
#include <cmath>
#include <cstdio>
#include <map>
#include <mutex>

namespace {

using LPaintSurfaceGrid::SnapRect;

// Inside the program's user data folder.
constexpr const char* kThemeFolder = "Theme";
// An override larger than this is no theme image; it is not read.
constexpr off_t kMaxOverrideBytes = 16 << 20;
// Resource numbers are at most this many decimal digits.
constexpr size_t kMaxNumberDigits = 9;

int _DeviceIndependent(int pixels, qreal ratio)
{
    return static_cast<int>(std::lround(pixels / ratio));
}

void _DrawScaled(QPainter& context, const QRectF& target, const QImage& image, const QRectF& source)
{
    const qreal scale = context.device()->devicePixelRatioF() * context.worldTransform().m11();
    const bool exact = std::fabs(target.width() * scale - source.width()) < 0.5 &&
                       std::fabs(target.height() * scale - source.height()) < 0.5;
    const bool smoothBefore = context.testRenderHint(QPainter::SmoothPixmapTransform);
    context.setRenderHint(QPainter::SmoothPixmapTransform, !exact);
    context.drawImage(target, image, source);
    context.setRenderHint(QPainter::SmoothPixmapTransform, smoothBefore);
}

struct _Registry {
    std::mutex lock;
    std::map<int, LImageResources::Drawer> drawers;
    std::atomic<double> ratio{0};
};

_Registry& _TheRegistry()
{
    static _Registry registry;
    return registry;
}

bool _OverridePath(char* path, int number, const char* suffix)
{
    char folder[LFile::kPathBytes], file[LFile::kPathBytes], name[32];
    std::snprintf(name, sizeof name, "%d%s.png", number, suffix);
    return LFile::GetUserDataFolder(folder) && LFile::_MakeFilePath(file, folder, LFile::kAppFolder) &&
           LFile::_MakeFilePath(file, file, kThemeFolder) && LFile::_MakeFilePath(path, file, name);
}

// The PNG when it is a regular file of that exact size in pixels; decoded only after its header
// has shown the size, so a wrong or huge file costs a header read.
QImage _ReadOverride(int number, const char* suffix, QSize wanted)
{
    char path[LFile::kPathBytes];
    struct stat info {};
    if (!_OverridePath(path, number, suffix) || stat(path, &info) != 0 || !S_ISREG(info.st_mode) ||
        info.st_size > kMaxOverrideBytes)
        return {};
    QImageReader reader(QString::fromLocal8Bit(path), "png");
    reader.setAutoTransform(false);
    if (reader.size() != wanted)
        return {};
    QImage image;
    if (!reader.read(&image) || image.size() != wanted)
        return {};
    return image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

// At a ratio above 1 a "<number>@2x.png" of twice the size is preferred; else the
// "<number>.png" of the drawn size is scaled up.
QImage _Override(int number, const QImage& drawn, qreal ratio)
{
    const QSize pixels = drawn.size();
    const QSize logical(_DeviceIndependent(pixels.width(), ratio), _DeviceIndependent(pixels.height(), ratio));
    QImage image;
    if (ratio > 1) {
        image = _ReadOverride(number, "@2x", logical * 2);
        if (image.isNull())
            image = _ReadOverride(number, "", logical);
    } else {
        image = _ReadOverride(number, "", logical);
    }
    if (image.isNull())
        return {};
    if (image.size() != pixels)
        image = image.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    image.setDevicePixelRatio(ratio);
    return image;
}

bool _ParseNumber(const char* text, int* number)
{
    if (text == nullptr || *text == '\0')
        return false;
    int value = 0;
    size_t digits = 0;
    for (const char* c = text; *c != '\0'; ++c, ++digits) {
        if (*c < '0' || *c > '9' || digits >= kMaxNumberDigits)
            return false;
        value = value * 10 + (*c - '0');
    }
    *number = value;
    return true;
}

}  // namespace

int LGuiImage::GetWidth() const
{
    if (_drawWidth > 0 && _drawHeight > 0)
        return _drawWidth;
    return _image.isNull() ? 0 : _DeviceIndependent(_image.width(), _image.devicePixelRatio());
}

int LGuiImage::GetHeight() const
{
    if (_drawWidth > 0 && _drawHeight > 0)
        return _drawHeight;
    return _image.isNull() ? 0 : _DeviceIndependent(_image.height(), _image.devicePixelRatio());
}

void LGuiImage::Draw(QPainter& context, float x, float y) const
{
    Draw(context, x, y, static_cast<float>(GetWidth()), static_cast<float>(GetHeight()));
}

void LGuiImage::Draw(QPainter& context, float x, float y, float width, float height) const
{
    if (_image.isNull() || !context.isActive() || !(width > 0) || !(height > 0))
        return;
    if (const std::optional<QRectF> target = SnapRect(x, y, width, height))
        _DrawScaled(context, *target, _image, QRectF(_image.rect()));
}

// A source reaching outside the image is cut to it, and the target with it in proportion.
void LGuiImage::DrawSubImage(QPainter& context, float x, float y, float width, float height, float srcX,
                             float srcY, float srcWidth, float srcHeight) const
{
    if (_image.isNull() || !context.isActive() || !(width > 0) || !(height > 0) || !(srcWidth > 0) ||
        !(srcHeight > 0) || !std::isfinite(srcX) || !std::isfinite(srcY))
        return;
    const qreal ratio = _image.devicePixelRatio();
    const QRectF whole(0, 0, _image.width() / ratio, _image.height() / ratio);
    const QRectF asked(srcX, srcY, srcWidth, srcHeight);
    const QRectF source = asked.intersected(whole);
    if (source.isEmpty())
        return;
    const qreal scaleX = width / asked.width(), scaleY = height / asked.height();
    const std::optional<QRectF> target =
        SnapRect(x + (source.x() - asked.x()) * scaleX, y + (source.y() - asked.y()) * scaleY,
                 source.width() * scaleX, source.height() * scaleY);
    if (target)
        _DrawScaled(context, *target, _image,
                    QRectF(source.x() * ratio, source.y() * ratio, source.width() * ratio, source.height() * ratio));
}

bool LGuiJPG::LoadFromResource(const char* number)
{
    int value = 0;
    QImage image;
    if (_ParseNumber(number, &value))
        image = LImageResources::Load(value, LImageResources::GetDevicePixelRatio());
    SetImage(image);
    return !image.isNull();
}

void LImageResources::Register(int number, Drawer drawer)
{
    _Registry& registry = _TheRegistry();
    const std::lock_guard<std::mutex> guard(registry.lock);
    registry.drawers[number] = std::move(drawer);
}

bool LImageResources::IsRegistered(int number)
{
    _Registry& registry = _TheRegistry();
    const std::lock_guard<std::mutex> guard(registry.lock);
    return registry.drawers.count(number) != 0;
}

// The drawer runs outside the lock, so it may load other resources.
QImage LImageResources::Load(int number, qreal devicePixelRatio)
{
    if (!(devicePixelRatio > 0) || !std::isfinite(devicePixelRatio))
        devicePixelRatio = 1;
    Drawer drawer;
    {
        _Registry& registry = _TheRegistry();
        const std::lock_guard<std::mutex> guard(registry.lock);
        const auto found = registry.drawers.find(number);
        if (found == registry.drawers.end() || !found->second)
            return {};
        drawer = found->second;
    }
    QImage drawn = drawer(devicePixelRatio);
    if (drawn.isNull())
        return drawn;
    drawn.setDevicePixelRatio(devicePixelRatio);
    QImage replaced = _Override(number, drawn, devicePixelRatio);
    return replaced.isNull() ? drawn : replaced;
}

qreal LImageResources::GetDevicePixelRatio()
{
    const double ratio = _TheRegistry().ratio.load();
    if (ratio > 0)
        return ratio;
    return qGuiApp != nullptr ? qGuiApp->devicePixelRatio() : 1.0;
}

void LImageResources::SetDevicePixelRatio(qreal ratio)
{
    _TheRegistry().ratio.store(ratio > 0 && std::isfinite(ratio) ? ratio : 0);
}

#include "gallery/GalleryTile.h"

void GalleryTile::Paint(PaintData& data)
{
    // The theme's helpers draw into the paint's rectangle: give them the whole tile, the
    // toolkit clips to what needs painting.
    data.x = 0;
    data.y = 0;
    data.width = static_cast<float>(GetWidth());
    data.height = static_cast<float>(GetHeight());
    _painter(data, *this);
}

void GalleryTile::EvLButtonDown(int /*x*/, int /*y*/)
{
    if (_toggles) {
        _lit = !_lit;
        Update();
    }
}

void GalleryTile::EvMouseIn()
{
    _hot = true;
    Update();
}

void GalleryTile::EvMouseOut()
{
    _hot = false;
    Update();
}

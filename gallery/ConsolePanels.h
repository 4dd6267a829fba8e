#pragma once

#include <memory>

class GalleryConsolePanels;

// Opens a second gallery window with the console panel and the bottom panel, working against
// an idle console and a pretend track list. The window lives as long as the answer.
std::shared_ptr<GalleryConsolePanels> GalleryShowConsolePanels();

#pragma once

#include <QIcon>
#include <QPixmap>

// The pictures we drew for the program (assets/, made by scripts/make-artwork).
namespace Artwork {
// The application icon at every size we ship, 16 to 256 pixels, each read when it is asked for.
QIcon applicationIcon();
QPixmap splashPicture();
} // namespace Artwork

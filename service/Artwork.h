#pragma once

#include <service/Catalogue.h>
#include <service/Endpoints.h>

#include <string>

namespace korvel::service {

/// A picture of 640 to 360 pixels as JPEG: `motif` picks the drawing and its colours, `variation`
/// its details. The same arguments give the same bytes.
std::string drawArtwork(unsigned motif, unsigned variation);

/// Serves /media/images/TAG.jpg for every class, drawn at the first request: a motif for each
/// collection.
void addArtwork(Endpoints& endpoints, const Catalogue& catalogue);

}  // namespace korvel::service

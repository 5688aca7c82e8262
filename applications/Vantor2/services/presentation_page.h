// The page that a browser shows for the renderer's address: its name and what it is doing. Nothing
// can be changed on it. Pure function.
#pragma once

#include <string>

#include "renderer/transport.h"
#include "services/device_description.h"

namespace vantor {

/// `title` is that of the media, "" when there is none.
std::string writePresentationPage(const DeviceIdentity& identity, const TransportView& view,
                                  const std::string& title, unsigned volume, bool mute);

} // namespace vantor

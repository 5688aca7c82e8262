// The bus link: commands and custom commands to the selected player and to the renderer daemon.
//
// Nothing here takes the link's mutex: commands are sent on the service's thread and, when a
// request is answered on its own, from inside a change handler. What the other side answered is
// dropped; success shows as a change of its state.
#include "ConsoleStatusMon.h"

#include <cstdio>

#include "ServiceCommands.h"
#include "ze/zeTools.h"

namespace {

constexpr long kMaxSpeedDenominator = 128;
constexpr double kSpeedTolerance = 0.001;

/// Room for any number of 32 bits as text, also where `long` has 64.
constexpr std::size_t kNumberSize = 24;

// The height goes out before the width, although it stands behind it in the structure.
constexpr int kRectangleCommands = 4;
constexpr const char* kDisplayRectangle[kRectangleCommands] = {
    "DispRect_s32X", "DispRect_s32Y", "DispRect_u16Height", "DispRect_u16Width"};
constexpr const char* kCropRectangle[kRectangleCommands] = {
    "CropRect_s32X", "CropRect_s32Y", "CropRect_u16Height", "CropRect_u16Width"};

} // namespace

void ConsoleStatusMon::Play(double aSpeed) {
    if (mManager == nullptr) {
        return;
    }
    const char* speed = nullptr;
    if (zeConvert_doubletofraction(aSpeed, kMaxSpeedDenominator, kSpeedTolerance, &speed) != 0 ||
        speed == nullptr) {
        return;
    }
    (void)ContentPlayerService_play(mManager, GetInstanceName(mContentPlayers), speed);
    std::printf("ConsoleStatusMon::Play theSpeedStr=%s\n", speed);
}

void ConsoleStatusMon::Stop() {
    if (mManager != nullptr) {
        (void)ContentPlayerService_stop(mManager, GetInstanceName(mContentPlayers));
    }
}

void ConsoleStatusMon::Pause() {
    if (mManager != nullptr) {
        (void)ContentPlayerService_pause(mManager, GetInstanceName(mContentPlayers));
    }
}

BOOL ConsoleStatusMon::AuthorizeOperation(U32 aRequestId) {
    if (mManager == nullptr) {
        return FALSE;
    }
    (void)MediaRendererService_authorize_operation(mManager, nullptr, aRequestId);
    return TRUE;
}

BOOL ConsoleStatusMon::DenyOperation(U32 aRequestId) {
    if (mManager == nullptr) {
        return FALSE;
    }
    (void)MediaRendererService_deny_operation(mManager, nullptr, aRequestId);
    return TRUE;
}

void ConsoleStatusMon::SetFriendlyName(const char* aName) {
    if (mManager != nullptr) {
        (void)MediaRendererService_setfriendlyname(mManager, nullptr, aName);
    }
}

void ConsoleStatusMon::SendCustomCommand(const char* aCommand, const char* aArgument) {
    if (mManager == nullptr) {
        return;
    }
    auto* record = static_cast<ContentPlayerServiceCustomCommand*>(
        zeSBusState::New(&ContentPlayerServiceCustomCommandTemplate, nullptr));
    if (record == nullptr) {
        return;
    }
    record->mCommand = zeStrdup(aCommand);
    record->mArgument = zeStrdup(aArgument);
    // The command takes the record and its texts; nothing is released here.
    (void)ContentPlayerService_customcommand(mManager, GetInstanceName(mContentPlayers), record);
}

void ConsoleStatusMon::VolumeUp() {
    SendCustomCommand("Volume", "UP");
}

void ConsoleStatusMon::VolumeDown() {
    SendCustomCommand("Volume", "DOWN");
}

void ConsoleStatusMon::RepeatAB(const char* aStatus) {
    SendCustomCommand("RepeatAB", aStatus);
}

void ConsoleStatusMon::MoveView(const char* aDirection, const char* aOffset) {
    SendCustomCommand("MOVE_DIRECTION", aDirection);
    SendCustomCommand("MOVE_OFFSET", aOffset);
    SendCustomCommand("MOVE_SET", "");
}

void ConsoleStatusMon::Rotate(const char* aDegrees) {
    SendCustomCommand("Rotate", aDegrees);
}

void ConsoleStatusMon::Zoom(const char* aScale) {
    SendCustomCommand("Zoom", aScale);
}

void ConsoleStatusMon::SetCropDisplayRectangle() {
    SendCustomCommand("SetCropDisplayRectangle", "");
}

void ConsoleStatusMon::SetKeepRatio(int aKeep) {
    char text[kNumberSize];
    std::snprintf(text, sizeof text, "%d", aKeep);
    SendCustomCommand("bKeepRatio", text);
}

void ConsoleStatusMon::SetVideoMute(int aMute) {
    char text[kNumberSize];
    std::snprintf(text, sizeof text, "%d", aMute);
    SendCustomCommand("bVideoMute", text);
}

void ConsoleStatusMon::SetDisplayRectangle(const ST_MM_INTERFACE_RECT& aRectangle) {
    sendRectangle(kDisplayRectangle, aRectangle);
}

void ConsoleStatusMon::SetCropRectangle(const ST_MM_INTERFACE_RECT& aRectangle) {
    sendRectangle(kCropRectangle, aRectangle);
}

void ConsoleStatusMon::SetAudioTrack(U32 aIndex) {
    char text[kNumberSize];
    std::snprintf(text, sizeof text, "%u", static_cast<unsigned int>(aIndex));
    SendCustomCommand("AudioTrackIndex", text);
}

void ConsoleStatusMon::SetDisplayAspectRatio(U32 aRatio) {
    char text[kNumberSize];
    std::snprintf(text, sizeof text, "%u", static_cast<unsigned int>(aRatio));
    SendCustomCommand("DisplayAspectRatio", text);
}

void ConsoleStatusMon::sendRectangle(const char* const* aCommands,
                                     const ST_MM_INTERFACE_RECT& aRectangle) {
    const long values[kRectangleCommands] = {aRectangle.s32X, aRectangle.s32Y, aRectangle.u16Height,
                                             aRectangle.u16Width};
    for (int i = 0; i < kRectangleCommands; ++i) {
        char text[kNumberSize];
        std::snprintf(text, sizeof text, "%ld", values[i]);
        SendCustomCommand(aCommands[i], text);
    }
}

#pragma once
// Keys of settings.ini, exactly as they are written (the file format is shared with earlier
// versions, so spelling and group case matter: "playlist" holds the playlist window's geometry
// and visibility, "PlayList" its content options, and "Threshhold" is spelled with a double h).
//
// Threading: constants only.

namespace settings_key {

inline constexpr char MainWindowY[] = "main/windowy";
inline constexpr char MainWindowX[] = "main/windowx";
inline constexpr char PlaylistWindowHeight[] = "playlist/windowheight";
inline constexpr char PlaylistWindowWidth[] = "playlist/windowwidth";
inline constexpr char PlaylistWindowY[] = "playlist/windowy";
inline constexpr char PlaylistWindowX[] = "playlist/windowx";
inline constexpr char ReverbDamp[] = "Reverb/Damp";
inline constexpr char ReverbRoomSize[] = "Reverb/RoomSize";
inline constexpr char ReverbWetMix[] = "Reverb/WetMix";
inline constexpr char ReverbDryMix[] = "Reverb/DryMix";
inline constexpr char ReverbWidth[] = "Reverb/Width";
inline constexpr char ReverbEnabled[] = "Reverb/Enabled";
inline constexpr char NormalizeFadeTime[] = "Normalize/FadeTime";
inline constexpr char NormalizeThreshold[] = "Normalize/Threshhold";
inline constexpr char NormalizeMaxAmp[] = "Normalize/MaxAmp";
inline constexpr char NormalizeEnabled[] = "Normalize/Enabled";
inline constexpr char VuSensitivity[] = "VUMeter/Sensitivity";
inline constexpr char VuMultiplier[] = "VUMeter/Multiplier";
inline constexpr char UnknownLengthSeconds[] = "UnknownSonglength/Seconds";
inline constexpr char UnknownLengthEnabled[] = "UnknownSonglength/Enabled";
inline constexpr char PlaylistShow[] = "playlist/show";
inline constexpr char GaplessEnabled[] = "GaplessPlayback/Enabled";
inline constexpr char GaplessAccurate[] = "GaplessPlayback/Accurate";
inline constexpr char GaplessCutoff[] = "GaplessPlayback/Cutoff";
inline constexpr char GaplessPreload[] = "GaplessPlayback/Preload";
inline constexpr char GaplessSampleExact[] = "GaplessPlayback/SampleExact";
inline constexpr char LoadLastPlaylist[] = "PlayList/LoadLastPlayList";
inline constexpr char CurrentSound[] = "PlayList/CurrentSound";
inline constexpr char LastUrlOpened[] = "LastURLOpened";

} // namespace settings_key

// Defaults used when a key is missing (geometry defaults depend on the form and are computed
// where they are read).
namespace settings_default {

inline constexpr double ReverbDamp = 0.56;
inline constexpr double ReverbRoomSize = 0.71;
inline constexpr double ReverbWetMix = 0.15;
inline constexpr double ReverbDryMix = 0.5;
inline constexpr double ReverbWidth = 0.1;
inline constexpr bool ReverbEnabled = false;
inline constexpr double NormalizeFadeTime = 5000.0;
inline constexpr double NormalizeThreshold = 0.1;
inline constexpr double NormalizeMaxAmp = 20.0;
inline constexpr bool NormalizeEnabled = false;
inline constexpr int VuSensitivity = 4000;
inline constexpr double VuMultiplier = 1.0;
inline constexpr int UnknownLengthSeconds = 90;
inline constexpr bool UnknownLengthEnabled = false;
inline constexpr bool PlaylistShow = true;
inline constexpr bool GaplessEnabled = false;
inline constexpr bool GaplessAccurate = false;
inline constexpr int GaplessCutoff = 10;
inline constexpr bool GaplessPreload = false;
inline constexpr bool GaplessSampleExact = false;
inline constexpr bool LoadLastPlaylist = true;
inline constexpr int CurrentSound = 0;
inline constexpr char LastUrlOpened[] = "http://";
// Gap between the player and the playlist window on first start, in pixels.
inline constexpr int PlaylistGap = 20;

} // namespace settings_default

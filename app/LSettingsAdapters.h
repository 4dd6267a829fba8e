#pragma once

// The user's settings store (LSettings) as the layers below app/ read it: the engine through
// DJSettingsAccess, the files layer through LFilesSettings. Each installs one adapter for the
// rest of the process; reads and writes then go to the store at once, as LSettings does.

// What the program installs at start, before any deck or conversion reads a setting: both.
void LInstallProgramSettings();
// The files layer only (cache folder, cache size, raw layouts): orvane-tool's commands read
// the engine's settings as their defaults and never write them back.
void LInstallFilesSettings();

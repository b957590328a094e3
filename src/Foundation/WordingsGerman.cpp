// SPDX-License-Identifier: Apache-2.0
#include "Wordings.h"

#include <array>

namespace vello {
namespace {

constexpr auto kWordings = std::to_array<Wording>({
    // the panel
    {"About VELLO", "Über VELLO"},
    {"Open VELLO", "VELLO öffnen"},
    {"Equalizing enabled", "Equalizer aktiv"},
    {"Turn all equalizing on or off", "Alle Equalizer ein- oder ausschalten"},
    {"Quit", "Beenden"},
    {"Launch at Login", "Beim Anmelden starten"},
    {"Not saved: the disk is full.", "Nicht gesichert: kein freier Speicherplatz."},
    {"Not saved: no permission to write.", "Nicht gesichert: keine Schreibrechte."},
    {"Not saved: another VELLO uses the settings.",
     "Nicht gesichert: Ein anderes VELLO nutzt die Einstellungen."},
    {"Your saved settings could not be read.", "Die gesicherten Einstellungen ließen sich nicht lesen."},
    {"Changes could not be saved.", "Änderungen ließen sich nicht sichern."},
    {"Could not update launch setting.", "Die Starteinstellung ließ sich nicht ändern."},
    {"By QUORVIN", "Von QUORVIN"},
    {"No apps are playing audio right now.", "Im Moment gibt keine App Ton wieder."},
    // a card's line
    {"System", "System"},
    {"Process %1", "Prozess %1"},
    {"%1, expanded", "%1, aufgeklappt"},
    {"%1, collapsed", "%1, zugeklappt"},
    {"Output: %1", "Ausgabe: %1"},
    {"EQ enabled for %1", "EQ für %1 aktiv"},
    {"Bypass the equalizer for %1", "Equalizer für %1 umgehen"},
    // an equalizer
    {"Flat", "Linear"},
    {"Reduce Bass", "Bass absenken"},
    {"Bass Boost", "Bass anheben"},
    {"Vocal", "Stimme"},
    {"Podcast", "Podcast"},
    {"Bright", "Brillant"},
    {"Custom", "Eigene"},
    {"%1 BPM", "%1 BPM"},
    {"%1 beats per minute", "%1 Schläge pro Minute"},
    {"Save", "Sichern"},
    {"Reset", "Reset"},
    {"Preset name", "Name des Presets"},
    {"Cancel saving preset", "Sichern des Presets abbrechen"},
    {"Volume", "Lautstärke"},
    {"Output route", "Ausgabe"},
    {"Automatic", "Automatisch"},
    {"%1 (Default)", "%1 (Standard)"},
    {"Unavailable Output", "Ausgabe nicht verfügbar"},
    {"%1 hertz band gain", "Verstärkung bei %1 Hertz"},
    {"%1 decibels", "%1 Dezibel"},
    // the consent
    {"VELLO needs System Audio access", "VELLO benötigt Zugriff auf den Ton"},
    {"macOS requires system audio access to equalize apps. Audio stays on your Mac and is never recorded.",
     "VELLO muss den Ton von Apps erfassen, um ihn anzupassen. Er bleibt auf diesem Computer und wird nie "
     "aufgezeichnet."},
    {"Allow Access", "Zugriff erlauben"},
    {"Open System Settings…", "Erneut fragen …"},
    {"Enable VELLO under Screen & System Audio Recording, then come back.",
     "Oder im Terminal „vello permission allow“ ausführen und dann hierher zurückkehren."},
    {"Allow VELLO to capture what applications play?", "Darf VELLO erfassen, was Anwendungen abspielen?"},
    {"VELLO equalizes the sound of each application, and has to capture it for that. The sound is processed "
     "in memory only; it is never recorded or stored.",
     "VELLO passt den Klang jeder Anwendung einzeln an und muss ihn dafür erfassen. Der Ton wird nur im "
     "Arbeitsspeicher verarbeitet; er wird nie aufgezeichnet oder gespeichert."},
    {"You can change the answer at any time with the commands “vello permission allow” and “vello permission "
     "deny”.",
     "Die Antwort lässt sich jederzeit mit den Befehlen „vello permission allow“ und „vello permission deny“ "
     "ändern."},
    {"Allow", "Erlauben"},
    {"Don’t Allow", "Nicht erlauben"},
    // About
    {"VELLO app icon", "App-Symbol von VELLO"},
    {"Per-app sound control,\nright from your menu bar.", "Der Klang jeder App,\ndirekt aus der Menüleiste."},
    {"Shape each app", "Jeder App ihr Klang"},
    {"Use the 8-band equalizer independently\nfor the apps playing sound.",
     "Der 8-Band-Equalizer gilt einzeln\nfür jede App, die Ton wiedergibt."},
    {"Choose its output", "Ausgabe wählen"},
    {"Route an app to the system output\nor a specific speaker.",
     "Leitet eine App zur Systemausgabe\noder zu einem bestimmten Lautsprecher."},
    {"Audio stays on your Mac", "Der Ton bleibt auf diesem Computer"},
    {"VELLO processes audio locally\nand does not record or store it.",
     "VELLO verarbeitet den Ton lokal,\nohne ihn aufzunehmen oder zu speichern."},
    {"About", "Mehr erfahren"},
    {"Done", "Fertig"},
});

} // namespace

std::span<const Wording> germanWordings() {
    return kWordings;
}

} // namespace vello

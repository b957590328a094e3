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
    {"Import…", "Importieren …"},
    {"Rename %1", "„%1“ umbenennen"},
    {"Delete %1", "„%1“ löschen"},
    {"Undo", "Widerrufen"},
    {"Undo deleting %1", "Löschen von „%1“ widerrufen"},
    {"Rename", "Umbenennen"},
    {"Cancel renaming preset", "Umbenennen des Presets abbrechen"},
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
    // files of presets
    {"Import preset", "Preset importieren"},
    {"This file cannot be imported", "Diese Datei lässt sich nicht importieren"},
    {"Cancel", "Abbrechen"},
    {"Close", "Schließen"},
    {"The file holds %1 presets.", "Die Datei enthält %1 Presets."},
    {"A preset in the file has a name that cannot be used. Correct it in the file.",
     "Ein Preset in der Datei hat einen Namen, der nicht verwendbar ist. Bitte in der Datei ändern."},
    {"The bands follow the file’s curve exactly.", "Die Bänder folgen der Kurve der Datei genau."},
    {"The bands differ from the file’s curve by %1 dB RMS, at most by %2 dB at %3 Hz.",
     "Die Bänder weichen von der Kurve der Datei um %1 dB (RMS) ab, höchstens um %2 dB bei %3 Hz."},
    {"The file cannot be read. Choose another.", "Die Datei ist nicht lesbar. Bitte eine andere wählen."},
    {"%1 is missing in the file, or is not a usable number. Export the preset again.",
     "%1 fehlt in der Datei oder ist keine brauchbare Zahl. Bitte das Preset neu exportieren."},
    {"The equalizer in the file has no %1. Export the preset again.",
     "Dem Equalizer in der Datei fehlt %1. Bitte das Preset neu exportieren."},
    {"The equalizer in the file has no bands in %1. Export the preset again.",
     "Dem Equalizer in der Datei fehlen die Bänder in %1. Bitte das Preset neu exportieren."},
    {"Filters of other types than bell and shelf are left out, such as %1.",
     "Andere Filter als Glocke und Kuhschwanz entfallen, zum Beispiel %1."},
    {"There are more than 1000 filters before %1. Remove some.",
     "Vor %1 stehen mehr als 1000 Filter. Bitte einige entfernen."},
    {"Filters of other modes than APO (DR) with slope x1 are read as if they were of it, such as %1.",
     "Filter mit anderem Modus als APO (DR) mit Steilheit x1 werden so gelesen, als hätten sie diesen, zum "
     "Beispiel %1."},
    {"Filters at 24 kHz and above are left out, such as %1.", "Filter ab 24 kHz entfallen, zum Beispiel %1."},
    {"The file has neither presets of VELLO nor an equalizer of EasyEffects. Choose another.",
     "Die Datei enthält weder Presets von VELLO noch einen Equalizer von EasyEffects. Bitte eine andere "
     "wählen."},
    {"The equalizer in the file has no bell or shelf that is on. Choose another.",
     "Im Equalizer der Datei ist weder Glocke noch Kuhschwanz eingeschaltet. Bitte eine andere wählen."},
    {"The preamp in line %1 is not a number of decibels such as -6.5. Correct or remove the line.",
     "Der Wert bei Preamp in Zeile %1 ist keine Zahl in Dezibel wie -6.5. Bitte die Zeile ändern oder "
     "entfernen."},
    {"The curve in line %1 has no points. Give it some, such as GraphicEQ: 100 -2.5; 1000 0.",
     "Die Kurve in Zeile %1 hat keine Punkte. Sie braucht welche, zum Beispiel GraphicEQ: 100 -2.5; 1000 0."},
    {"A point in line %1 is not a frequency and a gain, such as 100 -2.5. Correct or remove it.",
     "Ein Punkt in Zeile %1 besteht nicht aus Frequenz und Verstärkung wie 100 -2.5. Bitte ändern oder "
     "entfernen."},
    {"There are more than 1000 filters before line %1. Remove some.",
     "Vor Zeile %1 stehen mehr als 1000 Filter. Bitte einige entfernen."},
    {"The filter in line %1 has no frequency such as Fc 100 Hz. Correct or remove the line.",
     "Dem Filter in Zeile %1 fehlt eine Frequenz wie Fc 100 Hz. Bitte die Zeile ändern oder entfernen."},
    {"The filter in line %1 has no gain such as Gain -2.5 dB. Correct or remove the line.",
     "Dem Filter in Zeile %1 fehlt eine Verstärkung wie Gain -2.5 dB. Bitte die Zeile ändern oder "
     "entfernen."},
    {"The filter in line %1 has no width such as Q 1.41. Correct or remove the line.",
     "Dem Filter in Zeile %1 fehlt eine Breite wie Q 1.41. Bitte die Zeile ändern oder entfernen."},
    {"The shelf in line %1 has no slope such as 12 dB. Correct or remove the line.",
     "Dem Kuhschwanz in Zeile %1 fehlt eine Steilheit wie 12 dB. Bitte die Zeile ändern oder entfernen."},
    {"The file has no curve for left or right: no GraphicEQ line, and no bell or shelf that is on. Choose "
     "another.",
     "Die Datei enthält keine Kurve für links oder rechts: keine Zeile mit GraphicEQ und weder Glocke noch "
     "Kuhschwanz, die eingeschaltet sind. Bitte eine andere wählen."},
    {"Filters of other types than bell and shelf are left out. Their lines: %1.",
     "Andere Filter als Glocke und Kuhschwanz entfallen. Ihre Zeilen: %1."},
    {"Filters at 24 kHz and above are left out. Their lines: %1.",
     "Filter ab 24 kHz entfallen. Ihre Zeilen: %1."},
    {"Lines that VELLO does not read are left out: %1.", "Zeilen, die VELLO nicht liest, entfallen: %1."},
    {"The file is too large for a preset. Choose one of at most 1 MB.",
     "Die Datei ist zu groß für ein Preset. Bitte eine mit höchstens 1 MB wählen."},
    {"The file is not text. Choose the text or JSON file of an equalizer.",
     "Die Datei enthält keinen Text. Bitte die Text- oder JSON-Datei eines Equalizers wählen."},
    {"The file is empty. Choose one that holds a curve.",
     "Die Datei ist leer. Bitte eine mit einer Kurve wählen."},
    {"Preset %1 of the file does not have eight gains in decibels. Correct or remove it.",
     "Preset %1 der Datei hat nicht acht Verstärkungen in Dezibel. Bitte ändern oder entfernen."},
    {"Preset %1 of the file has no name or no gains. Correct or remove it.",
     "Preset %1 der Datei hat keinen Namen oder keine Verstärkungen. Bitte ändern oder entfernen."},
    {"The file is of a newer version of VELLO. Import it there, or update this one.",
     "Die Datei stammt von einer neueren Version von VELLO. Bitte dort importieren oder diese "
     "aktualisieren."},
    {"“presets” in the file is not a list. Export the presets again.",
     "„presets“ in der Datei ist keine Liste. Bitte die Presets neu exportieren."},
    {"The file has no presets. Choose another.",
     "Die Datei enthält keine Presets. Bitte eine andere wählen."},
    {"The file has more than 1000 presets. Remove some.",
     "Die Datei enthält mehr als 1000 Presets. Bitte einige entfernen."},
    {"The JSON of the file is damaged in line %1. Export it again.",
     "Das JSON der Datei ist in Zeile %1 beschädigt. Bitte neu exportieren."},
    {"The file also changes the overall level by %1 dB. The bands cannot: use the volume.",
     "Die Datei ändert auch den Gesamtpegel um %1 dB. Die Bänder können das nicht; dafür gibt es die "
     "Lautstärke."},
    {"These bands are at their limit of 12 dB: %1.", "Diese Bänder sind an ihrer Grenze von 12 dB: %1."},
    {"Below 40 Hz, where there is no band, the file differs by up to %1 dB.",
     "Unter 40 Hz, wo es kein Band gibt, weicht die Datei um bis zu %1 dB ab."},
    {"Above 12 kHz, where there is no band, the file differs by up to %1 dB.",
     "Über 12 kHz, wo es kein Band gibt, weicht die Datei um bis zu %1 dB ab."},
    {"Left and right differ by up to %1 dB. The curve is the mean of both.",
     "Links und rechts unterscheiden sich um bis zu %1 dB. Die Kurve ist das Mittel aus beiden."},
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

// SPDX-License-Identifier: Apache-2.0
#include "Wordings.h"

#include <array>

namespace vello {
namespace {

constexpr auto kWordings = std::to_array<Wording>({
    // the panel
    {"About VELLO", "VELLOについて"},
    {"Open VELLO", "VELLOを開く"},
    {"Equalizing enabled", "イコライザ有効"},
    {"Turn all equalizing on or off", "すべてのイコライザをオン／オフします"},
    {"Quit", "終了"},
    {"Launch at Login", "ログイン時に起動"},
    {"Not saved: the disk is full.", "変更を保存できません。ディスクに空きがありません。"},
    {"Not saved: no permission to write.", "変更を保存できません。書き込む権限がありません。"},
    {"Not saved: another VELLO uses the settings.",
     "変更を保存できません。別のVELLOが設定を使用しています。"},
    {"Your saved settings could not be read.", "保存した設定を読み込めませんでした。"},
    {"Changes could not be saved.", "変更を保存できませんでした。"},
    {"Could not update launch setting.", "起動設定を変更できませんでした。"},
    {"By QUORVIN", "開発：QUORVIN"},
    {"No apps are playing audio right now.", "現在、音声を再生しているアプリはありません。"},
    // a card's line
    {"System", "システム"},
    {"Process %1", "プロセス %1"},
    {"%1, expanded", "%1、展開中"},
    {"%1, collapsed", "%1、折りたたみ中"},
    {"Output: %1", "出力先：%1"},
    {"EQ enabled for %1", "%1のEQ有効"},
    {"Bypass the equalizer for %1", "%1のイコライザをバイパスします"},
    // an equalizer
    {"Flat", "フラット"},
    {"Reduce Bass", "低音カット"},
    {"Bass Boost", "低音ブースト"},
    {"Vocal", "ボーカル"},
    {"Podcast", "ポッドキャスト"},
    {"Bright", "ブライト"},
    {"Custom", "カスタム"},
    {"%1 BPM", "%1 BPM"},
    {"%1 beats per minute", "毎分%1拍"},
    {"Save", "保存"},
    {"Reset", "リセット"},
    {"Preset name", "プリセット名"},
    {"Cancel saving preset", "プリセットの保存をキャンセル"},
    {"Volume", "音量"},
    {"Output route", "出力先"},
    {"Automatic", "自動"},
    {"%1 (Default)", "%1（デフォルト）"},
    {"Unavailable Output", "利用できない出力先"},
    {"%1 hertz band gain", "%1ヘルツ帯域のゲイン"},
    {"%1 decibels", "%1デシベル"},
    // the consent
    {"VELLO needs System Audio access", "VELLOには音声へのアクセスが必要です"},
    {"macOS requires system audio access to equalize apps. Audio stays on your Mac and is never recorded.",
     "アプリの音を調整するには、VELLOがその音を取り込む必要があります。音声がこのコンピュータの外に出ることは"
     "なく、録音されることもありません。"},
    {"Allow Access", "アクセスを許可"},
    {"Open System Settings…", "もう一度確認…"},
    {"Enable VELLO under Screen & System Audio Recording, then come back.",
     "または、ターミナルで「vello permission allow」を実行してから、ここに戻ってください。"},
    {"Allow VELLO to capture what applications play?", "VELLOがアプリの再生音を取り込むことを許可しますか？"},
    {"VELLO equalizes the sound of each application, and has to capture it for that. The sound is processed "
     "in memory only; it is never recorded or stored.",
     "VELLOはアプリごとに音を調整するため、その音を取り込む必要があります。音声はメモリ内でのみ処理され、録音"
     "も保存もされません。"},
    {"You can change the answer at any time with the commands “vello permission allow” and “vello permission "
     "deny”.",
     "この回答は、コマンド「vello permission allow」と「vello permission deny」でいつでも変更できます。"},
    {"Allow", "許可"},
    {"Don’t Allow", "許可しない"},
    // About
    {"VELLO app icon", "VELLOのアプリアイコン"},
    {"Per-app sound control,\nright from your menu bar.", "アプリごとの音を、\nメニューバーからすぐに調整。"},
    {"Shape each app", "アプリごとに音作り"},
    {"Use the 8-band equalizer independently\nfor the apps playing sound.",
     "音を再生しているアプリごとに、\n8バンドのイコライザを使えます。"},
    {"Choose its output", "出力先を選択"},
    {"Route an app to the system output\nor a specific speaker.",
     "アプリの音をシステムの出力先や\n特定のスピーカーに送れます。"},
    {"Audio stays on your Mac", "音声はこのコンピュータの中だけに"},
    {"VELLO processes audio locally\nand does not record or store it.",
     "VELLOは音声をローカルで処理し、\n録音も保存もしません。"},
    {"About", "詳しく見る"},
    {"Done", "完了"},
});

} // namespace

std::span<const Wording> japaneseWordings() {
    return kWordings;
}

} // namespace vello

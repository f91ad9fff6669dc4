#pragma once

#include <string_view>

namespace brindlex::cli {

/// A Windows code page of one byte for each character.
struct CodePage {
  unsigned number;
  /// The UTF-16 units of the bytes from 128 on; a byte below 128 is its own unit.
  std::u16string_view upper;
};

// As Windows converts in both directions, without best fits: a byte to which a page assigns no
// character is the control of the same number, or one of the private characters from U+F88D on.
// Escaped is what is not seen as a character of its own, or is written from right to left.
inline constexpr CodePage kCodePages[] = {
    {874,
     u"€\u0081\u0082\u0083\u0084…\u0086\u0087\u0088\u0089\u008A\u008B\u008C\u008D\u008E\u008F"
     u"\u0090‘’“”•–—\u0098\u0099\u009A\u009B\u009C\u009D\u009E\u009F"
     u"\u00A0กขฃคฅฆงจฉชซฌญฎฏฐฑฒณดตถทธนบปผฝพฟ"
     u"ภมยรฤลฦวศษสหฬอฮฯะ\u0E31าำ\u0E34\u0E35\u0E36\u0E37\u0E38\u0E39\u0E3A\uF8C1\uF8C2\uF8C3"
     u"\uF8C4฿"
     u"เแโใไๅ\u0E46\u0E47\u0E48\u0E49\u0E4A\u0E4B\u0E4C\u0E4D\u0E4E๏๐๑๒๓๔๕๖๗๘๙๚๛\uF8C5\uF8C6"
     u"\uF8C7\uF8C8"},
    {1250,
     u"€\u0081‚\u0083„…†‡\u0088‰Š‹ŚŤŽŹ\u0090‘’“”•–—\u0098™š›śťžź"
     u"\u00A0\u02C7˘Ł¤Ą¦§¨©Ş«¬\u00AD®Ż°±˛ł´µ¶·¸ąş»Ľ˝ľż"
     u"ŔÁÂĂÄĹĆÇČÉĘËĚÍÎĎĐŃŇÓÔŐÖ×ŘŮÚŰÜÝŢß"
     u"ŕáâăäĺćçčéęëěíîďđńňóôőö÷řůúűüýţ˙"},
    {1251,
     u"ЂЃ‚ѓ„…†‡€‰Љ‹ЊЌЋЏђ‘’“”•–—\u0098™љ›њќћџ"
     u"\u00A0ЎўЈ¤Ґ¦§Ё©Є«¬\u00AD®Ї°±Ііґµ¶·ё№є»јЅѕї"
     u"АБВГДЕЖЗИЙКЛМНОПРСТУФХЦЧШЩЪЫЬЭЮЯ"
     u"абвгдежзийклмнопрстуфхцчшщъыьэюя"},
    {1252,
     u"€\u0081‚ƒ„…†‡\u02C6‰Š‹Œ\u008DŽ\u008F\u0090‘’“”•–—˜™š›œ\u009DžŸ"
     u"\u00A0¡¢£¤¥¦§¨©ª«¬\u00AD®¯°±²³´µ¶·¸¹º»¼½¾¿"
     u"ÀÁÂÃÄÅÆÇÈÉÊËÌÍÎÏÐÑÒÓÔÕÖ×ØÙÚÛÜÝÞß"
     u"àáâãäåæçèéêëìíîïðñòóôõö÷øùúûüýþÿ"},
    {1253,
     u"€\u0081‚ƒ„…†‡\u0088‰\u008A‹\u008C\u008D\u008E\u008F\u0090‘’“”•–—\u0098™\u009A›\u009C"
     u"\u009D\u009E\u009F"
     u"\u00A0΅Ά£¤¥¦§¨©\uF8F9«¬\u00AD®―°±²³΄µ¶·ΈΉΊ»Ό½ΎΏ"
     u"ΐΑΒΓΔΕΖΗΘΙΚΛΜΝΞΟΠΡ\uF8FAΣΤΥΦΧΨΩΪΫάέήί"
     u"ΰαβγδεζηθικλμνξοπρςστυφχψωϊϋόύώ\uF8FB"},
    {1254,
     u"€\u0081‚ƒ„…†‡\u02C6‰Š‹Œ\u008D\u008E\u008F\u0090‘’“”•–—˜™š›œ\u009D\u009EŸ"
     u"\u00A0¡¢£¤¥¦§¨©ª«¬\u00AD®¯°±²³´µ¶·¸¹º»¼½¾¿"
     u"ÀÁÂÃÄÅÆÇÈÉÊËÌÍÎÏĞÑÒÓÔÕÖ×ØÙÚÛÜİŞß"
     u"àáâãäåæçèéêëìíîïğñòóôõö÷øùúûüışÿ"},
    {1255,
     u"€\u0081‚ƒ„…†‡\u02C6‰\u008A‹\u008C\u008D\u008E\u008F\u0090‘’“”•–—˜™\u009A›\u009C\u009D"
     u"\u009E\u009F"
     u"\u00A0¡¢£₪¥¦§¨©×«¬\u00AD®¯°±²³´µ¶·¸¹÷»¼½¾¿"
     u"\u05B0\u05B1\u05B2\u05B3\u05B4\u05B5\u05B6\u05B7\u05B8\u05B9\u05BA\u05BB\u05BC\u05BD"
     u"\u05BE\u05BF\u05C0\u05C1\u05C2\u05C3\u05F0\u05F1\u05F2\u05F3\u05F4\uF88D\uF88E\uF88F"
     u"\uF890\uF891\uF892\uF893"
     u"\u05D0\u05D1\u05D2\u05D3\u05D4\u05D5\u05D6\u05D7\u05D8\u05D9\u05DA\u05DB\u05DC\u05DD"
     u"\u05DE\u05DF\u05E0\u05E1\u05E2\u05E3\u05E4\u05E5\u05E6\u05E7\u05E8\u05E9\u05EA\uF894"
     u"\uF895\u200E\u200F\uF896"},
    {1256,
     u"€\u067E‚ƒ„…†‡\u02C6‰\u0679‹Œ\u0686\u0698\u0688\u06AF‘’“”•–—\u06A9™\u0691›œ\u200C\u200D"
     u"\u06BA"
     u"\u00A0،¢£¤¥¦§¨©\u06BE«¬\u00AD®¯°±²³´µ¶·¸¹\u061B»¼½¾\u061F"
     u"\u06C1\u0621\u0622\u0623\u0624\u0625\u0626\u0627\u0628\u0629\u062A\u062B\u062C\u062D"
     u"\u062E\u062F\u0630\u0631\u0632\u0633\u0634\u0635\u0636×\u0637\u0638\u0639\u063A\u0640"
     u"\u0641\u0642\u0643"
     u"à\u0644â\u0645\u0646\u0647\u0648çèéêë\u0649\u064Aîï\u064B\u064C\u064D\u064Eô\u064F"
     u"\u0650÷\u0651ù\u0652ûü\u200E\u200F\u06D2"},
    {1257,
     u"€\u0081‚\u0083„…†‡\u0088‰\u008A‹\u008C¨\u02C7¸\u0090‘’“”•–—\u0098™\u009A›\u009C¯˛"
     u"\u009F"
     u"\u00A0\uF8FC¢£¤\uF8FD¦§Ø©Ŗ«¬\u00AD®Æ°±²³´µ¶·ø¹ŗ»¼½¾æ"
     u"ĄĮĀĆÄÅĘĒČÉŹĖĢĶĪĻŠŃŅÓŌÕÖ×ŲŁŚŪÜŻŽß"
     u"ąįāćäåęēčéźėģķīļšńņóōõö÷ųłśūüżž˙"},
    {1258,
     u"€\u0081‚ƒ„…†‡\u02C6‰\u008A‹Œ\u008D\u008E\u008F\u0090‘’“”•–—˜™\u009A›œ\u009D\u009EŸ"
     u"\u00A0¡¢£¤¥¦§¨©ª«¬\u00AD®¯°±²³´µ¶·¸¹º»¼½¾¿"
     u"ÀÁÂĂÄÅÆÇÈÉÊË\u0300ÍÎÏĐÑ\u0309ÓÔƠÖ×ØÙÚÛÜƯ\u0303ß"
     u"àáâăäåæçèéêë\u0301íîïđñ\u0323óôơö÷øùúûüư₫ÿ"},
};

}  // namespace brindlex::cli

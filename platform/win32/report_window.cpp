#include "platform/win32/report_window.h"

#include <windowsx.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

#include "automation/runtime_error.h"
#include "platform/text_rows.h"

namespace brindlex {
namespace {

constexpr int kColumns = 90;
constexpr int kVisibleRows = 25;
constexpr int kMargin = 12;
constexpr int kIconSize = 32;
constexpr SIZE kButton{86, 26};

const wchar_t* Wide(const Text& text) { return reinterpret_cast<const wchar_t*>(text.c_str()); }

/// The part of the window that shows the text: a static control whose messages come here.
class TextPane {
 public:
  explicit TextPane(TextView text) : text_(text), rows_(text, kColumns) {}
  TextPane(const TextPane&) = delete;
  TextPane& operator=(const TextPane&) = delete;
  ~TextPane() { DeleteObject(font_); }

  /// Makes the control at `position`, as large as it has to be, and returns that size. Nothing when
  /// the system makes none that would show the text.
  std::optional<SIZE> Create(HWND parent, POINT position);

  void Focus() const { SetFocus(control_); }

  /// Restores the control's own procedure, before this object may end.
  void Release() const {
    SetWindowLongPtrW(control_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(ownProcedure_));
  }

 private:
  static LRESULT CALLBACK OnMessage(HWND control, UINT message, WPARAM first, LPARAM second);
  static TextPane* PaneOf(HWND control) {
    return reinterpret_cast<TextPane*>(GetWindowLongPtrW(control, GWLP_USERDATA));
  }
  LRESULT Handle(UINT message, WPARAM first, LPARAM second);

  void MeasureFont();
  void ScrollTo(long long row);
  void OnScroll(WORD request);
  void OnKey(WPARAM key);
  void Paint() const;
  void PaintRow(HDC context, int row, int width) const;
  LRESULT CopyText(WPARAM size, wchar_t* target) const;
  void CopyToClipboard() const;
  int LastTop() const { return std::max(0, static_cast<int>(rows_.Count()) - kVisibleRows); }

  TextView text_;
  TextRows rows_;
  HWND control_ = nullptr;
  WNDPROC ownProcedure_ = nullptr;
  HFONT font_ = nullptr;
  SIZE cell_{8, 16};
  /// The first row that is seen.
  int top_ = 0;
};

std::optional<SIZE> TextPane::Create(HWND parent, POINT position) {
  MeasureFont();
  RECT area{0, 0, kColumns * cell_.cx + GetSystemMetrics(SM_CXVSCROLL), kVisibleRows * cell_.cy};
  constexpr DWORD kStyle = WS_CHILD | WS_VISIBLE | WS_TABSTOP | WS_VSCROLL | SS_NOTIFY;
  AdjustWindowRectEx(&area, 0, FALSE, WS_EX_CLIENTEDGE);
  const SIZE size{area.right - area.left, area.bottom - area.top};
  control_ = CreateWindowExW(WS_EX_CLIENTEDGE, L"STATIC", nullptr, kStyle, position.x, position.y,
                             size.cx, size.cy, parent, nullptr, nullptr, nullptr);
  SetWindowLongPtrW(control_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  ownProcedure_ = reinterpret_cast<WNDPROC>(
      SetWindowLongPtrW(control_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(OnMessage)));
  if (ownProcedure_ == nullptr || PaneOf(control_) != this) return std::nullopt;
  ScrollTo(0);
  return size;
}

void TextPane::MeasureFont() {
  constexpr int kHeight = 16;
  font_ = CreateFontW(kHeight, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, DEFAULT_CHARSET,
                      OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS, DEFAULT_QUALITY,
                      FIXED_PITCH | FF_MODERN, L"Courier New");
  auto* const context = GetDC(nullptr);
  auto* const before = SelectObject(context, font_);
  TEXTMETRICW metrics;
  if (GetTextMetricsW(context, &metrics) != FALSE) {
    cell_ = {metrics.tmAveCharWidth, metrics.tmHeight};
  }
  SelectObject(context, before);
  ReleaseDC(nullptr, context);
}

LRESULT CALLBACK TextPane::OnMessage(HWND control, UINT message, WPARAM first, LPARAM second) {
  auto* const pane = PaneOf(control);
  if (pane == nullptr) return DefWindowProcW(control, message, first, second);
  return pane->Handle(message, first, second);
}

LRESULT TextPane::Handle(UINT message, WPARAM first, LPARAM second) {
  switch (message) {
    case WM_GETTEXTLENGTH:
      return static_cast<LRESULT>(text_.size());
    case WM_GETTEXT:
      return CopyText(first, reinterpret_cast<wchar_t*>(second));
    case WM_COPY:
      CopyToClipboard();
      return 0;
    case WM_GETDLGCODE:
      return DLGC_WANTARROWS;
    case WM_VSCROLL:
      OnScroll(LOWORD(first));
      return 0;
    case WM_MOUSEWHEEL:
      ScrollTo(top_ - 3LL * GET_WHEEL_DELTA_WPARAM(first) / WHEEL_DELTA);
      return 0;
    case WM_KEYDOWN:
      OnKey(first);
      return 0;
    case WM_ERASEBKGND:
      return 1;
    case WM_PAINT:
      Paint();
      return 0;
    default:
      // Not the control's own procedure, which knows neither scroll bars nor keys.
      return DefWindowProcW(control_, message, first, second);
  }
}

void TextPane::ScrollTo(long long row) {
  top_ = static_cast<int>(std::clamp<long long>(row, 0, LastTop()));
  SCROLLINFO bar{};
  bar.cbSize = sizeof(bar);
  bar.fMask = SIF_RANGE | SIF_PAGE | SIF_POS | SIF_DISABLENOSCROLL;
  bar.nMax = static_cast<int>(rows_.Count()) - 1;
  bar.nPage = kVisibleRows;
  bar.nPos = top_;
  SetScrollInfo(control_, SB_VERT, &bar, TRUE);
  InvalidateRect(control_, nullptr, FALSE);
}

void TextPane::OnScroll(WORD request) {
  SCROLLINFO bar{};
  bar.cbSize = sizeof(bar);
  bar.fMask = SIF_TRACKPOS;
  switch (request) {
    case SB_LINEUP:
      return ScrollTo(top_ - 1LL);
    case SB_LINEDOWN:
      return ScrollTo(top_ + 1LL);
    case SB_PAGEUP:
      return ScrollTo(static_cast<long long>(top_) - kVisibleRows);
    case SB_PAGEDOWN:
      return ScrollTo(static_cast<long long>(top_) + kVisibleRows);
    case SB_TOP:
      return ScrollTo(0);
    case SB_BOTTOM:
      return ScrollTo(LastTop());
    case SB_THUMBTRACK:
    case SB_THUMBPOSITION:
      // The message itself carries sixteen bits of the position only.
      GetScrollInfo(control_, SB_VERT, &bar);
      return ScrollTo(bar.nTrackPos);
    default:
      return;
  }
}

void TextPane::OnKey(WPARAM key) {
  struct KeyRequest {
    WPARAM key;
    WORD request;
  };
  constexpr KeyRequest kRequests[] = {{VK_UP, SB_LINEUP},    {VK_DOWN, SB_LINEDOWN},
                                      {VK_PRIOR, SB_PAGEUP}, {VK_NEXT, SB_PAGEDOWN},
                                      {VK_HOME, SB_TOP},     {VK_END, SB_BOTTOM}};
  const bool withControl = GetKeyState(VK_CONTROL) < 0;
  if (withControl && (key == 'C' || key == VK_INSERT)) return CopyToClipboard();
  for (const KeyRequest& known : kRequests) {
    if (known.key == key) OnScroll(known.request);
  }
}

void TextPane::Paint() const {
  PAINTSTRUCT paint;
  RECT area;
  auto* const context = BeginPaint(control_, &paint);
  if (context == nullptr) {
    // Otherwise the system would ask again and again, and do nothing else.
    ValidateRect(control_, nullptr);
    return;
  }
  GetClientRect(control_, &area);
  auto* const before = SelectObject(context, font_);
  SetTextColor(context, GetSysColor(COLOR_WINDOWTEXT));
  SetBkColor(context, GetSysColor(COLOR_WINDOW));
  for (int row = 0; row < kVisibleRows; ++row) PaintRow(context, row, area.right);
  SelectObject(context, before);
  EndPaint(control_, &paint);
}

void TextPane::PaintRow(HDC context, int row, int width) const {
  const auto index = static_cast<std::size_t>(top_) + static_cast<std::size_t>(row);
  const TextView text = index < rows_.Count() ? rows_.Row(index) : TextView();
  std::array<wchar_t, kColumns> shown{};
  std::array<INT, kColumns> advances{};
  std::transform(text.begin(), text.end(), shown.begin(),
                 [](char16_t unit) { return static_cast<wchar_t>(unit < u' ' ? u' ' : unit); });
  // Every character in its cells, so that a row is as wide as was counted, whatever the font.
  std::transform(text.begin(), text.end(), advances.begin(),
                 [this](char16_t unit) { return static_cast<INT>(ColumnsOf(unit)) * cell_.cx; });
  const RECT area{0, row * cell_.cy, width, (row + 1) * cell_.cy};
  ExtTextOutW(context, 0, area.top, ETO_OPAQUE | ETO_CLIPPED, &area, shown.data(),
              static_cast<UINT>(text.size()), advances.data());
}

LRESULT TextPane::CopyText(WPARAM size, wchar_t* target) const {
  if (size == 0) return 0;
  const std::size_t count = std::min<std::size_t>(size - 1, text_.size());
  std::memcpy(target, text_.data(), count * sizeof(wchar_t));
  target[count] = L'\0';
  return static_cast<LRESULT>(count);
}

void TextPane::CopyToClipboard() const {
  const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, (text_.size() + 1) * sizeof(wchar_t));
  if (block == nullptr || OpenClipboard(control_) == FALSE) {
    GlobalFree(block);
    return;
  }
  CopyText(text_.size() + 1, static_cast<wchar_t*>(GlobalLock(block)));
  GlobalUnlock(block);
  EmptyClipboard();
  // From here on it belongs to the clipboard.
  if (SetClipboardData(CF_UNICODETEXT, block) == nullptr) GlobalFree(block);
  CloseClipboard();
}

/// The window around it: icon, text and button.
class ReportWindow {
 public:
  explicit ReportWindow(const Report& report) : caption_(report.caption), pane_(report.text) {}

  bool Show(HWND owner) {
    // A dialog without controls, which are made when it is there: their sizes depend on the font.
    struct {
      DLGTEMPLATE head;
      WORD menu, windowClass, title;
    } form{};
    form.head.style = WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME | DS_NOIDLEMSG;
    return DialogBoxIndirectParamW(GetModuleHandleW(nullptr), &form.head, owner, OnMessage,
                                   reinterpret_cast<LPARAM>(this)) > 0;
  }

 private:
  static INT_PTR CALLBACK OnMessage(HWND window, UINT message, WPARAM first, LPARAM second) {
    if (message == WM_INITDIALOG) {
      SetWindowLongPtrW(window, DWLP_USER, second);
      const bool isFilled = reinterpret_cast<ReportWindow*>(second)->Fill(window);
      // The report is to be shown in another way then.
      if (!isFilled) EndDialog(window, 0);
      return FALSE;
    }
    auto* const self = reinterpret_cast<ReportWindow*>(GetWindowLongPtrW(window, DWLP_USER));
    if (message == WM_DESTROY && self != nullptr) self->pane_.Release();
    const bool isClosed =
        message == WM_COMMAND && (LOWORD(first) == IDOK || LOWORD(first) == IDCANCEL);
    return isClosed && EndDialog(window, IDOK) != FALSE ? TRUE : FALSE;
  }

  /// Whether the text is there to be read.
  bool Fill(HWND window) {
    const int left = kMargin + kIconSize + kMargin;
    const std::optional<SIZE> pane = pane_.Create(window, {left, kMargin});
    if (!pane) return false;
    auto* const icon =
        CreateWindowExW(0, L"STATIC", nullptr, WS_CHILD | WS_VISIBLE | SS_ICON, kMargin, kMargin,
                        kIconSize, kIconSize, window, nullptr, nullptr, nullptr);
    SendMessageW(icon, STM_SETICON, reinterpret_cast<WPARAM>(LoadIconW(nullptr, IDI_EXCLAMATION)),
                 0);
    const SIZE inner{left + pane->cx + kMargin,
                     kMargin + pane->cy + kMargin + kButton.cy + kMargin};
    auto* const button =
        CreateWindowExW(0, L"BUTTON", L"OK", WS_CHILD | WS_VISIBLE | WS_TABSTOP | BS_DEFPUSHBUTTON,
                        (inner.cx - kButton.cx) / 2, inner.cy - kMargin - kButton.cy, kButton.cx,
                        kButton.cy, window, reinterpret_cast<HMENU>(IDOK), nullptr, nullptr);
    SendMessageW(button, WM_SETFONT, reinterpret_cast<WPARAM>(GetStockObject(DEFAULT_GUI_FONT)),
                 FALSE);
    SetWindowTextW(window, Wide(caption_));
    Center(window, inner);
    pane_.Focus();
    MessageBeep(MB_ICONEXCLAMATION);
    return true;
  }

  static void Center(HWND window, SIZE inner) {
    RECT outer{0, 0, inner.cx, inner.cy};
    const auto style = static_cast<DWORD>(GetWindowLongPtrW(window, GWL_STYLE));
    const auto extended = static_cast<DWORD>(GetWindowLongPtrW(window, GWL_EXSTYLE));
    AdjustWindowRectEx(&outer, style, FALSE, extended);
    const SIZE size{outer.right - outer.left, outer.bottom - outer.top};
    MONITORINFO monitor{};
    monitor.cbSize = sizeof(monitor);
    const BOOL isKnown =
        GetMonitorInfoW(MonitorFromWindow(GetParent(window), MONITOR_DEFAULTTOPRIMARY), &monitor);
    const RECT& work = monitor.rcWork;
    SetWindowPos(window, nullptr, (work.left + work.right - size.cx) / 2,
                 (work.top + work.bottom - size.cy) / 2, size.cx, size.cy,
                 isKnown != FALSE ? SWP_NOZORDER : SWP_NOZORDER | SWP_NOMOVE);
  }

  const Text& caption_;
  TextPane pane_;
};

}  // namespace

bool ShowInWindow(HWND owner, const Report& report) noexcept {
  bool shown = false;
  TrapSilently([&] { shown = ReportWindow(report).Show(owner); });
  return shown;
}

}  // namespace brindlex

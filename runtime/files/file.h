// A file, opened by name.
#pragma once

#include <stdarg.h>

#include "runtime/core/flags.h"
#include "runtime/core/win.h"

namespace kv {

class CProgressWnd;

// Wraps one file handle. Writes are not buffered. Failures of the system's calls are reported with
// message boxes unless a function says otherwise, and leave the call's last error; a failed
// operation leaves the handle as it was. Sizes, positions and counts are bytes; a text length of -1
// measures the text. Names of more than 259 characters cannot be opened
// (ERROR_FILENAME_EXCED_RANGE). Used by one thread.
class File {
 public:
  enum class Terminator : bool { kNo, kYes };
  enum class Trim : bool { kNo, kYes };
  // Open flags.
  static constexpr DWORD kForReading = 0;
  static constexpr DWORD kForWriting = 0x0001;  // at the end
  static constexpr DWORD kCreate = 0x1000;      // empty, whatever the other flags
  // As much as there is.
  static constexpr ULONGLONG kWhole = ~ULONGLONG{0};

  File() = default;
  // Opens `name` when it is not null or empty.
  explicit File(LPCWSTR name, DWORD flags);
  virtual ~File();
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  BOOL Open(LPCWSTR name, DWORD flags);
  // Makes the file, empty, for reading and writing, with the directories that are missing on the
  // way; a null or empty name makes a temporary file of the user. Box 12102, or 12101 for a
  // directory, unless quiet.
  BOOL Create(LPCWSTR name, Quiet quiet);
  // FALSE, unreported, for a null or empty name (ERROR_PATH_NOT_FOUND). A file that somebody is
  // writing to is read along with the writer.
  BOOL OpenRead(LPCWSTR name);
  // Opens for reading and writing at the end; makes the file when there is none, and a temporary
  // one for a null or empty name.
  BOOL OpenWrite(LPCWSTR name);
  // Close and open the file of the stored name.
  BOOL ReopenRead();
  BOOL ReopenWrite();
  void Close();
  // Deletes the file of the stored name; TRUE also when there is no name. Box 12105 unless quiet.
  BOOL CloseAndDelete(Quiet quiet);
  // Gives the handle to the caller.
  HANDLE Detach();

  // Positions from 4 GB on are failures of both (ERROR_INVALID_PARAMETER).
  BOOL Tell(DWORD* position) const;
  // `method` is FILE_BEGIN, FILE_CURRENT or FILE_END.
  BOOL Seek(LONG distance, DWORD method);
  // The low 32 bits of the size, and all of them.
  BOOL GetSize(DWORD* size) const;
  BOOL GetWholeSize(ULONGLONG* size) const;
  // A stack of four positions to come back to. FALSE, unreported, when it is full
  // (ERROR_INSUFFICIENT_BUFFER) or empty (ERROR_NO_MORE_ITEMS).
  BOOL PushPosition();
  BOOL PopPosition();
  // Ends the file at the position.
  BOOL SetEnd();
  BOOL Empty();
  // Gives the file of the stored name the length, whether it is open or not; FALSE, unreported,
  // without a name (ERROR_PATH_NOT_FOUND).
  BOOL SetLength(DWORD length);

  // FALSE also when less was written than asked for (ERROR_WRITE_FAULT).
  BOOL Write(const void* data, DWORD size);
  // Little-endian numbers.
  BOOL WriteByte(BYTE value) { return Write(&value, sizeof value); }
  BOOL WriteWord(WORD value) { return Write(&value, sizeof value); }
  BOOL WriteDword(DWORD value) { return Write(&value, sizeof value); }
  BOOL WriteQword(ULONGLONG value) { return Write(&value, sizeof value); }
  // Texts. A null one writes nothing and succeeds.
  BOOL WriteStringA(LPCSTR text, int length = -1, Terminator terminator = Terminator::kNo);
  // In the ANSI code page (ToAnsi).
  BOOL WriteStringAsAnsi(LPCWSTR text, int length = -1);
  BOOL WriteStringW(LPCWSTR text, int length = -1);
  // A 16-bit count (the length modulo 65536), then the characters.
  BOOL WriteCountedStringW(LPCWSTR text, int length = -1);
  // The mark of UTF-16 text.
  BOOL WriteBom();
  // Zero bytes up to the next multiple of 2 or 4.
  BOOL AlignWord();
  BOOL AlignDword();
  // Writes a line feed unless one was written last. `trim` first steps back over blanks that were
  // just written, at most eight; what stands behind the new position stays.
  BOOL NewLine(Trim trim);
  // Writes ASCII85 groups and the end mark "~>". Before a group that begins at or behind
  // `lineLength` characters the line is broken; 0 breaks none.
  BOOL WriteAscii85(const void* data, DWORD size, DWORD lineLength);

  // Formatted text: narrow templates in the ANSI code page, wide ones converted to it, and printfW
  // as UTF-16. A text that is empty, or longer than 204800 bytes before the conversion, is not
  // written: box 12111 (ERROR_INVALID_PARAMETER).
  BOOL printf(LPCSTR format, ...);
  BOOL printfV(LPCSTR format, va_list arguments);
  BOOL printf(LPCWSTR format, ...);
  BOOL printfV(LPCWSTR format, va_list arguments);
  BOOL printfW(LPCWSTR format, ...);

  // Reads the whole block; FALSE, unreported, when the file ends before (ERROR_HANDLE_EOF).
  BOOL Read(void* buffer, DWORD size);
  // Reads up to a zero byte, which is stored too. FALSE, unreported, when `capacity` bytes hold
  // none (ERROR_MORE_DATA).
  BOOL ReadZString(LPSTR buffer, DWORD capacity);
  // Reads what is stored with a length byte: single-byte characters, or UTF-16 behind the bytes FF
  // FE FF and their length. `capacity` is in characters; what does not fit is read and dropped.
  BOOL ReadCountedString(LPWSTR buffer, int capacity);

  // Writes the whole file `sourceName`, which may be this one, at the position.
  BOOL AppendFile(LPCWSTR sourceName);
  // Writes at most `maximum` bytes of an open file from `offset` on (kWhole: all there are). A
  // progress window (null: none) advances with each part of at most 32767 bytes. FALSE, unreported,
  // for an offset behind its end, when it ends early (both ERROR_HANDLE_EOF), and when the user
  // cancels (ERROR_CANCELLED); what was written until then stays.
  BOOL AppendFromHandle(HANDLE source, ULONGLONG offset, ULONGLONG maximum,
                        CProgressWnd* progress = nullptr);

  BOOL IsOpen() const { return handle_ != INVALID_HANDLE_VALUE; }
  HANDLE handle() const { return handle_; }
  // The name of the last successful open; empty before.
  LPCWSTR name() const { return name_; }

 private:
  static constexpr SHORT kSavedPositions = 4;
  static constexpr DWORD kLastBytes = 8;

  void Adopt(HANDLE handle, LPCWSTR name);
  // Not only within the first 4 GB.
  BOOL TellWhole(ULONGLONG* position) const;
  BOOL SeekTo(ULONGLONG position);
  void RememberWritten(const void* data, DWORD size);
  BOOL ReportPosition() const;
  BOOL WriteZeros(DWORD multiple);
  DWORD BlanksBefore(ULONGLONG position) const;

  WCHAR name_[MAX_PATH] = {};
  HANDLE handle_ = INVALID_HANDLE_VALUE;
  DWORD savedPositions_[kSavedPositions] = {};
  SHORT savedDepth_ = 0;
  BYTE lastBytes_[kLastBytes] = {};  // the last ones written, oldest first
};

}  // namespace kv

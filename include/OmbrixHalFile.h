/* Files: one file interface over file systems registered by path prefix ("//name/"),
 * with file history, directory iterators and volumes; the builtin and local file systems. */
#ifndef OMBRIX_HAL_FILE_H
#define OMBRIX_HAL_FILE_H

#include "OmbrixHalTypes.h"

OMBRIX_HAL_EXTERN_C_BEGIN

#define OMBRIX_HAL_FILE_PREFIX_SIZE 20
#define OMBRIX_HAL_FILE_INTERFACE_COUNT 10

/* Opaque; NULL means none. Owned by the caller until closed. */
typedef struct OmbrixHalFileObject* OmbrixHalFileHandle;
typedef struct OmbrixHalFileIteratorObject* OmbrixHalFileIteratorHandle;

/* A file's size: high word first, then low word. */
typedef struct OmbrixHalFileSize {
  uint32_t High;
  uint32_t Low;
} OmbrixHalFileSize;

/* One file system. Every slot may be NULL; paths are the text after the prefix, handles
 * the file system's own non-zero words. Seek origins: 0 start, 1 current, 2 end. */
typedef struct OmbrixHalFileInterface {
  char Prefix[OMBRIX_HAL_FILE_PREFIX_SIZE];
  OmbrixHalBool (*Init)(struct OmbrixHalFileInterface* aEntry);
  OmbrixHalBool (*Done)(struct OmbrixHalFileInterface* aEntry);
  void* (*Open)(const char* aPath, const char* aMode);
  OmbrixHalBool (*Close)(void* aFile);
  uint32_t (*Read)(void* aFile, void* aBuffer, uint32_t aSize);
  uint32_t (*Write)(void* aFile, const void* aBuffer, uint32_t aSize);
  OmbrixHalBool (*Seek)(void* aFile, int32_t aOffset, int32_t aOrigin);
  int32_t (*Tell)(void* aFile);
  OmbrixHalBool (*Eof)(void* aFile);
  OmbrixHalBool (*Flush)(void* aFile);
  OmbrixHalBool (*Remove)(const char* aPath);
  OmbrixHalBool (*Rename)(const char* aOldPath, const char* aNewPath);
  void* (*IteratorOpen)(const char* aDirectory);
  OmbrixHalBool (*IteratorClose)(void* aIterator);
  OmbrixHalBool (*IteratorFirst)(void* aIterator);
  OmbrixHalBool (*IteratorNext)(void* aIterator);
  OmbrixHalBool (*IteratorGetFileName)(void* aIterator, char* aBuffer, uint32_t aBufferSize);
  OmbrixHalBool (*IteratorGetFileSize)(void* aIterator, OmbrixHalFileSize* aSize);
  OmbrixHalBool (*VolumeMount)(const char* aPath);
  OmbrixHalBool (*VolumeUnmount)(const char* aPath);
  /* Set only by OmbrixHalFileEnableFileHistory; register with 0. */
  uint32_t HistoryEnabled;
} OmbrixHalFileInterface;

/* Registers "//builtin/" and "//local/"; 0 with that pair, as the local one has no Init. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFileInit(void) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalFileDone(void) OMBRIX_HAL_NOEXCEPT;

/* Copies the record; the result is its Init's, 0 without Init or when 10 are registered. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFileRegisterFileInterface(const OmbrixHalFileInterface* aInterface)
    OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_API OmbrixHalFileHandle OmbrixHalFileOpen(const char* aFileName, const char* aMode) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFileClose(OmbrixHalFileHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API uint32_t OmbrixHalFileRead(OmbrixHalFileHandle This, void* aBuffer, uint32_t aSize) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API uint32_t OmbrixHalFileWrite(OmbrixHalFileHandle This, const void* aBuffer,
                                           uint32_t aSize) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFileSeek(OmbrixHalFileHandle This, int32_t aOffset,
                                               int32_t aOrigin) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API int32_t OmbrixHalFileTell(OmbrixHalFileHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFileEof(OmbrixHalFileHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFileFlush(OmbrixHalFileHandle This) OMBRIX_HAL_NOEXCEPT;

/* With file history enabled on the file system, renames to "<name>_<UTC time><.ext>". */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFileRemove(const char* aFileName) OMBRIX_HAL_NOEXCEPT;
/* aNewName without '/' or '\' stays in aOldName's directory. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFileRename(const char* aOldName, const char* aNewName) OMBRIX_HAL_NOEXCEPT;
/* Only the prefix of aFileName counts. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFileEnableFileHistory(const char* aFileName,
                                                            uint32_t aEnable) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_API OmbrixHalFileIteratorHandle OmbrixHalFileIteratorOpen(const char* aDirectory) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFileIteratorClose(OmbrixHalFileIteratorHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFileIteratorFirst(OmbrixHalFileIteratorHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFileIteratorNext(OmbrixHalFileIteratorHandle This) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFileIteratorGetFileName(OmbrixHalFileIteratorHandle This, char* aBuffer,
                                                              uint32_t aBufferSize) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFileIteratorGetFileSize(OmbrixHalFileIteratorHandle This,
                                                              OmbrixHalFileSize* aSize) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_API OmbrixHalBool OmbrixHalFileVolumeMount(const char* aPath) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFileVolumeUnmount(const char* aPath) OMBRIX_HAL_NOEXCEPT;

/* Builtin file system ("//builtin/"): read-only directories of in-memory files. The caller
 * keeps a registered directory and all it points to alive until it unregisters it. */
#define OMBRIX_HAL_FILE_BUILTIN_DIRECTORY_COUNT 50

typedef struct OmbrixHalFileBuiltinFile {
  uint32_t Size;
  const uint8_t* Data;
  const char* Name;
} OmbrixHalFileBuiltinFile;

typedef struct OmbrixHalFileBuiltinDirectory {
  const char* Name; /* without leading or trailing '/', may contain '/' */
  uint32_t FileCount;
  const OmbrixHalFileBuiltinFile* Files;
} OmbrixHalFileBuiltinDirectory;

OMBRIX_HAL_API OmbrixHalBool OmbrixHalFileBuiltinGetInterface(OmbrixHalFileInterface* aInterface) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFileBuiltinRegisterDirectory(const OmbrixHalFileBuiltinDirectory* aDirectory)
    OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFileBuiltinUnregisterDirectory(const OmbrixHalFileBuiltinDirectory* aDirectory)
    OMBRIX_HAL_NOEXCEPT;

/* Local file system ("//local/"): the device's own files; the path after the prefix is used
 * as given. Fills every slot but Prefix, Init, Done and HistoryEnabled. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFileLocalGetInterface(OmbrixHalFileInterface* aInterface) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif

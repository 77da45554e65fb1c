#pragma once

#include <ioapi.h>

class QFile;
class StoreIo;

// minizip's file callbacks over a QFile, so that archives are read and written through Qt's
// file layer and every write goes through the store's write seam. The file is opened by
// minizip's open call with the mode it asks for; the path minizip passes is ignored.
struct ZipDeviceFunctions
{
    QFile* file = nullptr; // not owned
    StoreIo* io = nullptr; // not owned; writes go through it

    // The callback table with this object as its opaque pointer; it must outlive the handle.
    zlib_filefunc64_def table();
};

// QorFileRead over arbitrary bytes, walked as a tree of chunks the way persisted classes walk
// it: typed reads for the value kinds, peeks, and a descent into every other chunk. The
// walk must end, every opened chunk must close, no check may fail, and the reader must stay
// inside the source.
#include <cstddef>
#include <cstdint>

#include "base/wexrealloc.h"
#include "persistence/memstream.h"
#include "persistence/qorfile.h"

namespace {

void check(bool ok) {
  if (!ok) __builtin_trap();
}

int failedCheck(void*, const char*, const char*, int32_t) {
  __builtin_trap();
}

struct Walk {
  QorFileRead& r;
  BinInput& in;
  int budget = 4000;

  void children(int depth) {
    while (!r.atEnd() && --budget > 0) {
      int64_t at = in.tell();
      switch (r.peekTag()) {
        case qor::tag::kString: {
          QorString s = r.peekObjectName();
          check(in.tell() == at);
          QorString t;
          r.read(t);
          break;
        }
        case qor::tag::kCString: {
          QorCString s;
          r.read(s);
          break;
        }
        case qor::tag::kId: {
          QorID id;
          r.read(id);
          break;
        }
        case qor::tag::kVector: {
          double v[3];
          r.readValueChunk(qor::tag::kVector, v, 3);
          break;
        }
        case qor::tag::kColor: {
          QorColor c;
          r.read(c);
          break;
        }
        case qor::tag::kMaterial: {
          QorMaterial m;
          r.read(m);
          break;
        }
        case qor::tag::kMatrix: {
          QorMatrix m;
          r.read(m);
          break;
        }
        case qor::tag::kRect: {
          QorRect x;
          r.read(x);
          break;
        }
        case qor::tag::kQuaternion: {
          QorQuaternion q;
          r.read(q);
          break;
        }
        case qor::tag::kVector2D: {
          Vector2D v;
          r.read(v);
          break;
        }
        case qor::tag::kVector2F: {
          Vector2F v;
          r.read(v);
          break;
        }
        case qor::tag::kObject: {
          QorID id = r.peekObjectId();
          int32_t version = -2;
          r.isObject(id, &version);
          check(in.tell() == at);
          if (r.beginObject(nullptr, &version)) {
            check(r.objectId() == id);
            children(depth + 1);
            r.endObject();
          }
          break;
        }
        default: {
          int32_t version = -2;
          uint32_t tag = r.peekTag();
          r.isChunk(tag, &version);
          check(in.tell() == at);
          if (depth > 40) {
            r.skipChunk();
          } else if (r.beginChunk()) {
            int32_t bare;
            if (r.remaining() >= 4) r.read(bare);
            children(depth + 1);
            r.endChunk();
          }
        }
      }
      check(in.tell() >= 0 && in.tell() <= in.size());
      if (!r.good()) break;
    }
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  wexSetAssertCallback(&failedCheck, nullptr);
  if (size < 1) return 0;
  // The first byte chooses how the stream starts: as a file with its root, or bare with
  // no width, 32-bit or 64-bit lengths.
  uint8_t mode = data[0] % 4;
  BinInputMemory in(data + 1, size - 1);
  if (mode == 2) in.setLengthWidth32();
  if (mode == 3) in.setLengthWidth64();
  QorFileRead r;
  r.attach(&in);
  int depthBefore = r.depth();
  bool root = mode == 0 && r.beginFile();
  Walk walk{r, in};
  walk.children(0);
  if (root) r.endChunk();
  if (r.good()) check(r.depth() == depthBefore);
  bool wasGood = r.good();
  r.close();
  check(!r.good());
  (void)wasGood;
  return 0;
}

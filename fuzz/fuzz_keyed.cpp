// fuzz_keyed.cpp - the keyed-parameter frame with arbitrary name/value lists: the input is a
// list of NUL-separated strings, taken as name, value, name, value...; every name is then
// read back, and the lists go through a keyed export as well.
#include <string>
#include <vector>

#include "fuzz_input.h"
#include "params/flow_control.h"

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
  std::vector<std::string> words(1);
  for (std::size_t i = 0; i < size && words.size() < 64; ++i) {
    if (data[i] == 0) words.emplace_back();
    else words.back() += char(data[i]);
  }
  std::vector<char const*> names, values;
  for (std::size_t i = 0; i + 1 < words.size(); i += 2) {
    names.push_back(words[i].c_str());
    values.push_back(words[i + 1].c_str());
  }
  int const count = int(names.size());
  {
    quilp::CDibFlowControl frame;
    frame.SetParams(count, names.data(), values.data());
    int v = 0;
    for (char const* name : names) frame.GetIntParam(&v, name, 7);
  }
  quilp_fuzz::Dib src(DibCreate(9, 5, 0, 0, 8));
  DibInfo* out = nullptr;
  if (DibFilterGreyEx(out, src.get(), 258, 3, 3, 0, count, names.data(), values.data(), nullptr) >= 0)
    quilp_fuzz::Drop(out);
  out = nullptr;
  if (DibBinarizeEx(out, src.get(), 0, 128, 0, count, names.data(), values.data(), nullptr,
                    nullptr) >= 0)
    quilp_fuzz::Drop(out);
  return 0;
}

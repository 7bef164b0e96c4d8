// GetItem plus GetItemSummary over every item of a 100,000-item file, once
// through Quillon.dll's IDispatch (late bound, as a script host calls) and
// once through the portable automation layer linked into this program,
// both on the same database. Prints items per second for each and their
// ratio. Runs under Wine.
// Usage: bench_com QUILLON_DLL SAMPLE_ISF DATABASE_DIR WORK_ISF
#include <windows.h>
// windows.h first: the headers below need its types.
#include <oleauto.h>

#include <chrono>
#include <cstdio>
#include <string>

#include "automation/auto_color_item.h"
#include "automation/auto_item_store_files.h"
#include "automation/module.h"
#include "bench/automation_bench_store.h"

namespace {

using quillon::bench::kBenchItems;
using Clock = std::chrono::steady_clock;

std::u16string U16(const wchar_t* s) { return reinterpret_cast<const char16_t*>(s); }

DISPID IdOf(IDispatch* d, const wchar_t* name) {
  DISPID id = DISPID_UNKNOWN;
  LPOLESTR n = const_cast<LPOLESTR>(name);
  d->GetIDsOfNames(IID_NULL, &n, 1, LOCALE_USER_DEFAULT, &id);
  return id;
}

HRESULT CallMethod(IDispatch* d, DISPID id, VARIANT* args, UINT count, VARIANT* result) {
  DISPPARAMS params{args, nullptr, count, 0};
  return d->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, result, nullptr,
                   nullptr);
}

// Items per second through IDispatch; 0 on any failure.
double DispatchRate(const wchar_t* dll, const wchar_t* file) {
  HMODULE module = LoadLibraryW(dll);
  if (!module) return 0;
  auto get_class_object = reinterpret_cast<HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**)>(
      reinterpret_cast<void*>(GetProcAddress(module, "DllGetClassObject")));
  CLSID clsid;
  CLSIDFromString(L"{47BB7E37-16E5-464F-9563-2E3B2E6B9C20}", &clsid);
  IClassFactory* factory = nullptr;
  IDispatch* files = nullptr;
  if (!get_class_object ||
      FAILED(get_class_object(clsid, IID_IClassFactory, reinterpret_cast<void**>(&factory))) ||
      FAILED(factory->CreateInstance(nullptr, IID_IDispatch, reinterpret_cast<void**>(&files)))) {
    return 0;
  }
  factory->Release();
  VARIANT arg[2], result;
  VariantInit(&result);
  VariantInit(&arg[0]);
  arg[0].vt = VT_BSTR;
  arg[0].bstrVal = SysAllocString(file);
  CallMethod(files, IdOf(files, L"LoadItemStore"), arg, 1, &result);
  VariantClear(&arg[0]);
  const ULONG h = result.ulVal;
  const DISPID get_item = IdOf(files, L"GetItem");
  DISPID get_summary = DISPID_UNKNOWN;
  std::size_t total = 0;
  const auto start = Clock::now();
  for (ULONG i = 0; i < kBenchItems; ++i) {
    arg[1].vt = VT_UI4;  // arguments arrive last first
    arg[1].ulVal = h;
    arg[0].vt = VT_UI4;
    arg[0].ulVal = i;
    VARIANT item, summary;
    VariantInit(&item);
    VariantInit(&summary);
    if (FAILED(CallMethod(files, get_item, arg, 2, &item)) || !item.pdispVal) return 0;
    if (get_summary == DISPID_UNKNOWN) get_summary = IdOf(item.pdispVal, L"GetItemSummary");
    CallMethod(item.pdispVal, get_summary, nullptr, 0, &summary);
    total += SysStringLen(summary.bstrVal);
    VariantClear(&summary);
    VariantClear(&item);
  }
  const std::chrono::duration<double> seconds = Clock::now() - start;
  files->Release();
  std::printf("IDispatch: %zu summary characters\n", total);
  return kBenchItems / seconds.count();
}

double PortableRate(const std::u16string& file) {
  quillon::CAutoItemStoreFiles files;
  const std::uint32_t h = files.LoadItemStore(file);
  std::size_t total = 0;
  const auto start = Clock::now();
  for (std::uint32_t i = 0; i < kBenchItems; ++i) {
    total += files.GetItem(h, i)->GetItemSummary().size();
  }
  const std::chrono::duration<double> seconds = Clock::now() - start;
  std::printf("portable:  %zu summary characters\n", total);
  return kBenchItems / seconds.count();
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc != 5) {
    std::fprintf(stderr, "usage: bench_com QUILLON_DLL SAMPLE_ISF DATABASE_DIR WORK_ISF\n");
    return 2;
  }
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  quillon::automation::LoadProcessDatabase(U16(argv[3]));
  if (!quillon::bench::WriteBenchStore(U16(argv[2]), U16(argv[4]))) {
    std::fprintf(stderr, "bench_com: cannot write the benchmark file\n");
    return 1;
  }
  const double portable = PortableRate(U16(argv[4]));
  const double dispatch = DispatchRate(argv[1], argv[4]);
  std::printf("%-40s %14s\n", "GetItem + GetItemSummary (100,000 items)", "items/s");
  std::printf("%-40s %14.0f\n", "portable automation layer", portable);
  std::printf("%-40s %14.0f\n", "IDispatch (Quillon.dll)", dispatch);
  std::printf("%-40s %13.1f%%\n", "IDispatch / portable",
              portable > 0 ? 100 * dispatch / portable : 0);
  DeleteFileW(argv[4]);
  return dispatch > 0 ? 0 : 1;
}

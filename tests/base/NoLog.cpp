// A DLL that is no log DLL.
extern "C" __declspec(dllexport) int QxNoLog_Answer()
{
    return 42;
}

extern "C" void nobody();
extern "C" void callsNobody();
extern "C" void callsNobody() { nobody(); }

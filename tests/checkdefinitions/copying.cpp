// Reads an object of a shared library directly, which makes the linker create a copy relocation.

extern "C" const char _ZTI26JsonDataIteratorObjectBase[];

int main()
{
    return _ZTI26JsonDataIteratorObjectBase[0];
}

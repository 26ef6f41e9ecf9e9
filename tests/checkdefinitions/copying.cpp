// Takes the address of an object that a shared library defines, by its name in there.

extern "C" const char _ZTI26JsonDataIteratorObjectBase[];

int main()
{
    return _ZTI26JsonDataIteratorObjectBase[0];
}

#include "JsonDataIteratorObjectBase.h"

JsonDataIteratorObjectBase::JsonDataIteratorObjectBase() = default;

JsonDataIteratorObjectBase::~JsonDataIteratorObjectBase() = default;

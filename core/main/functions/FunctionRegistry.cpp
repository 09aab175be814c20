#include "qel/core/functions/FunctionRegistry.h"

#include <utility>

#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace {

class FunctionRegistryImpl final : public FunctionRegistry {
public:
    FunctionRegistryImpl() { Init(); }

    RegistryOfUnaryFunctions const& GetUnaryFuncs() const override { return *m_unary; }
    RegistryOfBinaryFunctions const& GetBinaryFuncs() const override { return *m_binary; }
    RegistryOfMultinaryFunctions const& GetMultinaryFuncs() const override { return *m_multinary; }
    bool HasFunctionInfo(FunctionKey const& key) const override { return m_infos.CanResolve(key); }
    FunctionInfo const& GetFunctionInfo(FunctionKey const& key) const override {
        return m_infos.Resolve(key);
    }

    void Register(FunctionKey const& key, FunctionInfo&& info) override {
        bool const added = m_infos.FindOrAddExactKey(FunctionKey(key), std::move(info)).second;
        QEL_VALIDATE(added, QelError::FunctionAlreadyExistsAtKey, key.GetName().GetValue());
    }
    RegistryOfUnaryFunctions& GetMutableUnaryFuncs() override { return *m_unary; }
    RegistryOfBinaryFunctions& GetMutableBinaryFuncs() override { return *m_binary; }
    RegistryOfMultinaryFunctions& GetMutableMultinaryFuncs() override { return *m_multinary; }
    FunctionRegistryMap<FunctionInfo> const& GetFunctionInfos() const override { return m_infos; }

private:
    void Init() {
        auto const callback = [this](FunctionKey const& key, FunctionInfo&& info) {
            Register(key, std::move(info));
        };
        m_unary = std::make_unique<RegistryOfUnaryFunctions>(callback);
        m_binary = std::make_unique<RegistryOfBinaryFunctions>(callback);
        m_multinary = std::make_unique<RegistryOfMultinaryFunctions>(callback);
    }

    FunctionRegistryMap<FunctionInfo> m_infos;
    std::unique_ptr<RegistryOfUnaryFunctions> m_unary;
    std::unique_ptr<RegistryOfBinaryFunctions> m_binary;
    std::unique_ptr<RegistryOfMultinaryFunctions> m_multinary;
};

}  // namespace

std::unique_ptr<FunctionRegistry> FunctionRegistry::Make() {
    return std::make_unique<FunctionRegistryImpl>();
}

}  // namespace qel::core

// diagnoseOld
